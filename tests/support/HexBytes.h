#pragma once

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

// "01 03 0C" and the bytes that it stands for: tests read better in the notation of the wire. 55*20
// stands for 20 bytes 55.
inline Bytes FromHex(const std::string& text) {
    std::istringstream in(text);
    Bytes bytes;
    for (unsigned int value = 0; in >> std::hex >> value;) {
        std::size_t count = 1;
        if (in.peek() == '*') {
            in.ignore();
            in >> std::dec >> count;
        }
        bytes.insert(bytes.end(), count, static_cast<unsigned char>(value));
    }
    return bytes;
}

inline std::string TextFromHex(const std::string& text) {
    const Bytes bytes = FromHex(text);
    return {bytes.begin(), bytes.end()};
}

inline std::string ToHex(const Bytes& bytes) {
    std::string text;
    for (const unsigned char byte : bytes) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02X ", byte);
        text += digits;
    }
    if (!text.empty()) {
        text.pop_back();
    }
    return text;
}
