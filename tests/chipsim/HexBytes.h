#pragma once

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "chipsim/ChipCommand.h"

// "01 03 0C 00" as bytes; for tables of packets.
inline std::vector<unsigned char> Bytes(const std::string& text) {
    std::istringstream words(text);
    std::vector<unsigned char> bytes;
    std::string word;
    while (words >> word)
        bytes.push_back(static_cast<unsigned char>(std::stoul(word, nullptr, 16)));
    return bytes;
}

inline std::string HexText(const std::vector<unsigned char>& bytes) {
    constexpr char DIGITS[] = "0123456789ABCDEF";
    std::string text;
    for (const unsigned char byte : bytes) {
        text += text.empty() ? "" : " ";
        text += DIGITS[byte >> 4];
        text += DIGITS[byte & 0x0F];
    }
    return text;
}

// A reply as one line: "+100ms" for a pause, then the bytes, then what else it does.
inline std::string ReplyText(const CHIP_REPLY& reply) {
    std::ostringstream text;
    const char* gap = "";
    for (const CHIP_REPLY_PIECE& piece : reply.pieces) {
        if (piece.delayMs != 0)
            text << std::exchange(gap, " ") << '+' << piece.delayMs << "ms";
        if (!piece.bytes.empty())
            text << std::exchange(gap, " ") << HexText(piece.bytes);
    }
    if (reply.hangsUp)
        text << std::exchange(gap, " ") << "hangs up";
    if (reply.readPauseMs != 0)
        text << std::exchange(gap, " ") << "reads nothing for " << reply.readPauseMs << "ms";
    return text.str();
}
