#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What a packet asks of the chip. Each whole packet is of exactly one kind.
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
    CHIP_RESET_NTF,   // NCI reset notification, which the chip sends unasked
    CHIP_OTHER,       // anything the chip does not know
};
inline constexpr unsigned int CHIP_COMMAND_KIND_COUNT = 12;

// A command that the chip has received, or a notification that it has sent unasked.
struct CHIP_COMMAND {
    ChipCommandKinds kind = CHIP_OTHER;
    std::uint32_t address = 0;          // 0 when the command has none
    std::uint32_t length = 0;           // of the data written, read or summed, else of the payload
    unsigned int segments = 1;          // packets in which a record came
    unsigned char status = 0;           // the chip's own, before any fault
    std::vector<unsigned char> packet;  // as on the line; a record's segments put together
    std::vector<std::string> faults;    // the rules that changed the reply, as written

    // Whether the packet is a record that the chip has taken.
    bool IsLoadedRecord() const {
        return (kind == CHIP_PATCH || kind == CHIP_SIGNATURE) && status == 0;
    }
};

// A part of a reply that is sent without a pause.
struct CHIP_REPLY_PIECE {
    unsigned int delayMs = 0;  // silence before the bytes
    std::vector<unsigned char> bytes;
};

// What the chip sends for one command. Once begun, a reply is finished before the next one starts.
struct CHIP_REPLY {
    std::vector<CHIP_REPLY_PIECE> pieces;
    bool hangsUp = false;          // the port hangs up after it
    unsigned int readPauseMs = 0;  // the chip then reads no bytes for so long
};

// The kind's word on the command line, such as "write".
const char* ChipCommandKindWord(ChipCommandKinds kind);
std::optional<ChipCommandKinds> FindChipCommandKind(std::string_view word);

// "Write RAM        address 0x00001000  length 32", with the status when it is not 0.
std::string DescribeChipCommand(const CHIP_COMMAND& command);
