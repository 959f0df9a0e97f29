#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What a packet asks of the chip. Every packet received whole is of exactly one kind.
enum ChipCommandKinds : unsigned char {
    CHIP_RESET,       // HCI Reset
    CHIP_MINIDRIVER,  // Download Minidriver
    CHIP_WRITE,       // Write RAM
    CHIP_READ,        // Read RAM
    CHIP_LAUNCH,      // Launch RAM
    CHIP_CRC,         // CRC request
    CHIP_ERASE,       // chip erase
    CHIP_PATCH,       // NCI patch record
    CHIP_SIGNATURE,   // NCI signature record, the last of a patch set
    CHIP_SECURE,      // NCI set secure mode
    CHIP_RESET_NTF,   // NCI reset notification: not asked for but sent by the chip itself
    CHIP_OTHER,       // anything the chip does not know
};
inline constexpr unsigned int CHIP_COMMAND_KIND_COUNT = 12;

// One command the chip has seen, or one notification that it has sent by itself.
struct CHIP_COMMAND {
    ChipCommandKinds kind = CHIP_OTHER;
    std::uint32_t address = 0;          // 0 when the command has none
    std::uint32_t length = 0;           // bytes written, read, summed, or of parameters or record
    unsigned int segments = 1;          // packets in which a record came
    unsigned char status = 0;           // what the chip made of it, before any fault
    std::vector<unsigned char> packet;  // as on the line; of a record its last segment
    std::vector<std::string> faults;    // the rules that spoilt the reply, as written
};

// One stretch of a reply that goes out without a pause.
struct CHIP_REPLY_PIECE {
    unsigned int delayMs = 0;  // silence before the bytes
    std::vector<unsigned char> bytes;
};

// What the chip sends for one cause. A reply that has begun is finished before the next one starts.
struct CHIP_REPLY {
    std::vector<CHIP_REPLY_PIECE> pieces;
    bool hangsUp = false;          // the port goes away behind it
    unsigned int readPauseMs = 0;  // the chip then takes no bytes for so long
};

// The kind's word on the command line, such as "write".
const char* ChipCommandKindWord(ChipCommandKinds kind);
std::optional<ChipCommandKinds> FindChipCommandKind(std::string_view word);

// "Write RAM        address 0x00001000  length 32", with the status when it is not 0.
std::string DescribeChipCommand(const CHIP_COMMAND& command);
