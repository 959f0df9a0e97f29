#pragma once

#include <cstdio>
#include <string>
#include <vector>

// One record line of an Intel HEX file, line feed included.
inline std::string HexRecord(unsigned int type, unsigned int address,
                             const std::vector<unsigned char>& data) {
    char text[16];
    unsigned int sum =
        static_cast<unsigned int>(data.size()) + (address >> 8 & 0xFF) + address + type;
    std::snprintf(text, sizeof text, ":%02X%04X%02X", static_cast<unsigned int>(data.size()),
                  address & 0xFFFF, type);
    std::string line = text;
    for (const unsigned char byte : data) {
        std::snprintf(text, sizeof text, "%02X", byte);
        line += text;
        sum += byte;
    }
    std::snprintf(text, sizeof text, "%02X\n", (0x100 - (sum & 0xFF)) & 0xFF);
    return line + text;
}

inline constexpr const char* HEX_END_RECORD = ":00000001FF\n";
