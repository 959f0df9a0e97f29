#pragma once

#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "chipsim/ChipCommand.h"

// What is wrong with a reply; [0] and [1] are the values of the rule.
enum ChipFaults : unsigned char {
    FAULT_DROP,          // it is not sent
    FAULT_LATE,          // it is sent [0] ms late
    FAULT_PIECES,        // it comes in [0] pieces with [1] ms between them
    FAULT_TWICE,         // it is sent twice
    FAULT_FLIP,          // its bit [0] is inverted; any bit when not given
    FAULT_EVENT,         // [0] unsolicited packets come right before it
    FAULT_NOISE_BEFORE,  // [0] random bytes come right before it
    FAULT_NOISE_AFTER,   // [0] random bytes come right after it
    FAULT_STATUS,        // its status is [0]
    FAULT_CUT,           // only its first [0] bytes are sent; half of it when not given
    FAULT_SILENCE,       // it is not sent, nor is anything after it
    FAULT_HANGUP,        // the port hangs up after its first [0] bytes
    FAULT_SLOW,          // the chip then reads no bytes for [0] ms
    FAULT_BADDATA,       // data byte [0] of a Read RAM reply is inverted
    FAULT_BADCRC,        // the CRC in the reply is wrong
};

// A fault and the commands whose replies get it: KIND:WHEN:FAULT[=VALUE[,VALUE]].
struct FAULT_RULE {
    static constexpr unsigned int NOT_GIVEN = std::numeric_limits<unsigned int>::max();

    std::string text;                      // as written
    std::optional<ChipCommandKinds> kind;  // none = any command

    // The commands of that kind from number first to number last, counted from 1, or each with a
    // chance in a million.
    unsigned int first = 1;
    unsigned int last = std::numeric_limits<unsigned int>::max();
    std::optional<unsigned int> chance;

    ChipFaults fault = FAULT_DROP;
    unsigned int values[2] = {NOT_GIVEN, NOT_GIVEN};

    // Whether it uses random numbers, and so depends on the seed.
    bool UsesChance() const;
};

// Both return the error text, empty on success. In a file each line holds one rule; empty lines and
// lines that start with "#" are skipped. The rules are appended.
std::string ParseFaultRule(const std::string& text, FAULT_RULE& rule);
std::string ReadFaultFile(const std::string& path, std::vector<FAULT_RULE>& rules);
