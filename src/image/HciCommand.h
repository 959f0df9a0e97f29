#pragma once

#include <cstdint>
#include <span>
#include <vector>

// An HCI command as data (Bluetooth Core Vol 4 Part E, 5.4.1): what goes to the chip, and into HCD
// files, is made from it, and so is the reply that is waited for. All but the reset are
// vendor-specific.
struct HCI_COMMAND {
    std::uint16_t m_nOpcode;
    unsigned int m_nTimeoutMs;  // how long the reply may take

    // Opcode, parameter length and parameters. A vendor command's parameters are none, or begin
    // with a 32-bit number. All numbers are little-endian, the length is one byte.
    std::vector<unsigned char> Bytes() const;
    std::vector<unsigned char> Bytes(std::uint32_t number,
                                     std::span<const unsigned char> rest = {}) const;

    // The start of the Command Complete event (7.7.14) with status 00, up to the status; returnSize
    // bytes are to follow. On a UART the packet indicator 04 comes before it.
    std::vector<unsigned char> Completion(unsigned char returnSize = 0) const;
};

inline constexpr HCI_COMMAND HCI_RESET = {0x0C03, 100};
inline constexpr HCI_COMMAND HCI_DOWNLOAD_MINIDRIVER = {0xFC2E, 100};
inline constexpr HCI_COMMAND HCI_WRITE_RAM = {0xFC4C, 500};
inline constexpr HCI_COMMAND HCI_READ_RAM = {0xFC4D, 500};
inline constexpr HCI_COMMAND HCI_LAUNCH_RAM = {0xFC4E, 500};
inline constexpr HCI_COMMAND HCI_LAUNCH_MINIDRIVER = {HCI_LAUNCH_RAM.m_nOpcode, 100};
inline constexpr HCI_COMMAND HCI_CHECK_CRC = {0xFCCC, 4000};
inline constexpr HCI_COMMAND HCI_CHIP_ERASE = {0xFFCE, 50000};
