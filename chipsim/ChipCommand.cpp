#include "chipsim/ChipCommand.h"

#include <array>
#include <cstdio>

namespace {

struct KIND_NAMES {
    const char* word;
    const char* title;
    bool hasAddress;
};

// In the order of the kinds.
constexpr std::array<KIND_NAMES, CHIP_COMMAND_KIND_COUNT> NAMES = {{
    {"reset", "HCI Reset", false},
    {"minidriver", "Download Minidriver", false},
    {"write", "Write RAM", true},
    {"read", "Read RAM", true},
    {"launch", "Launch RAM", true},
    {"crc", "CRC request", true},
    {"erase", "Chip erase", false},
    {"patch", "Patch record", false},
    {"signature", "Signature record", false},
    {"secure", "Set secure mode", false},
    {"resetntf", "Reset notification", false},
    {"other", "Unknown command", false},
}};

}  // namespace

const char* ChipCommandKindWord(ChipCommandKinds kind) {
    return NAMES[kind].word;
}

std::optional<ChipCommandKinds> FindChipCommandKind(std::string_view word) {
    for (unsigned int i = 0; i < NAMES.size(); ++i) {
        if (word == NAMES[i].word) {
            return static_cast<ChipCommandKinds>(i);
        }
    }
    return std::nullopt;
}

std::string DescribeChipCommand(const CHIP_COMMAND& command) {
    const KIND_NAMES& names = NAMES[command.kind];
    char line[128];
    std::snprintf(line, sizeof line, "%-20s", names.title);
    std::string text = line;
    if (names.hasAddress) {
        std::snprintf(line, sizeof line, " address 0x%08X ", command.address);
        text += line;
    }
    if (command.kind == CHIP_OTHER && command.packet.size() >= 3) {
        std::snprintf(line, sizeof line, " bytes %02X %02X %02X ", command.packet[0],
                      command.packet[1], command.packet[2]);
        text += line;
    }
    std::snprintf(line, sizeof line, " length %u", command.length);
    text += line;
    if (command.segments > 1) {
        std::snprintf(line, sizeof line, "  segments %u", command.segments);
        text += line;
    }
    if (command.status != 0) {
        std::snprintf(line, sizeof line, "  status 0x%02X", command.status);
        text += line;
    }
    for (const std::string& fault : command.faults) {
        text += "  fault " + fault;
    }
    return text;
}
