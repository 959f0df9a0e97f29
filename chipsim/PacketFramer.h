#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "transport/LineObserver.h"

// Cuts the bytes that arrive into packets. A packet starts with its indicator (0x01 an HCI command,
// 0x10 an NCI packet), two bytes that say which, and the length of what follows. Any other byte
// where a packet should start is noise and is skipped. Noise that looks like a start swallows the
// packet after it, so the caller restarts the framer when the line has gone quiet.
//
// Not synchronised: one thread at a time.
class CPacketFramer {
public:
    static constexpr unsigned char HCI_COMMAND_INDICATOR = 0x01;
    static constexpr unsigned char NCI_INDICATOR = 0x10;
    static constexpr std::size_t HEADER_SIZE = 4;

    // The observer, which may be null, is told of each packet and of all bytes that are skipped.
    explicit CPacketFramer(CLineObserver* observer) : m_pObserver(observer) {}

    void Append(std::span<const unsigned char> bytes);

    // The next whole packet, indicator included. False when more bytes are needed.
    bool TakePacket(std::vector<unsigned char>& packet);

    // Whether the start of a packet is here and its rest is not.
    bool IsMidPacket() const { return !m_Bytes.empty(); }

    // Drops the packet that has begun.
    void Restart() { TakeFront(m_Bytes.size()); }

private:
    std::vector<unsigned char> TakeFront(std::size_t count);

    CLineObserver* const m_pObserver;
    std::vector<unsigned char> m_Bytes;
};
