#pragma once

#include <cstdint>
#include <span>
#include <vector>

// Cuts the bytes that arrive into packets. A packet starts with its indicator (0x01 an HCI command,
// 0x10 an NCI packet), two bytes that say which, and the length of what follows. Any other byte
// where a packet should start is noise and is skipped. Bytes that only look like a start can
// swallow what follows, so whoever feeds the framer tells it when the line has gone quiet.
//
// Not synchronised: one thread at a time.
class CPacketFramer {
public:
    static constexpr unsigned char HCI_COMMAND_INDICATOR = 0x01;
    static constexpr unsigned char NCI_INDICATOR = 0x10;
    static constexpr std::size_t HEADER_SIZE = 4;

    void Append(std::span<const unsigned char> bytes);

    // The next whole packet, indicator included. False when more bytes are needed.
    bool TakePacket(std::vector<unsigned char>& packet);

    // Whether the start of a packet waits for its rest.
    bool IsMidPacket() const { return !m_Bytes.empty(); }

    // Gives up the packet that has begun and returns how many bytes were thrown away.
    std::size_t Restart();

private:
    std::vector<unsigned char> m_Bytes;
};
