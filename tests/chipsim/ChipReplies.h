#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "chipsim/ChipEngine.h"
#include "support/HexBytes.h"

// A chip whose replies the rules spoil.
inline CHIP_SETTINGS WithFaults(const std::vector<std::string>& faults) {
    CHIP_SETTINGS settings;
    for (const std::string& text : faults) {
        FAULT_RULE rule;
        EXPECT_EQ(ParseFaultRule(text, rule), "");
        settings.faults.push_back(rule);
    }
    return settings;
}

// A reply as one line: "+100ms" for a pause, then the bytes, then what else it does.
inline std::string ReplyText(const CHIP_REPLY& reply) {
    std::ostringstream text;
    const char* gap = "";
    for (const CHIP_REPLY_PIECE& piece : reply.pieces) {
        if (piece.delayMs != 0) {
            text << std::exchange(gap, " ") << '+' << piece.delayMs << "ms";
        }
        if (!piece.bytes.empty()) {
            text << std::exchange(gap, " ") << ToHex(piece.bytes);
        }
    }
    if (reply.hangsUp) {
        text << std::exchange(gap, " ") << "hangs up";
    }
    if (reply.readPauseMs != 0) {
        text << std::exchange(gap, " ") << "reads nothing for " << reply.readPauseMs << "ms";
    }
    return text.str();
}

// What the chip answers to these bytes, one reply behind the other.
inline std::string Answers(CChipEngine& engine, const std::string& bytes) {
    std::string text;
    for (const CHIP_REPLY& reply : engine.Receive(FromHex(bytes))) {
        text += (text.empty() ? "" : " | ") + ReplyText(reply);
    }
    return text;
}
