#pragma once

#include <optional>
#include <span>
#include <vector>

enum LineProtocols : unsigned char { LINE_HCI, LINE_NCI };

// A packet with its indicator, or bytes that belong to none.
struct CUT_PIECE {
    std::vector<unsigned char> m_Bytes;
    bool m_bIsHci = false;
};

// Cuts what a chip sends into packets: HCI events (Bluetooth Core Vol 4 Part E, 5.4.4) or NCI
// responses and notifications, whichever the host asked for last. Takes the bytes in any pieces.
// Between packets an indicator is enough for a start; after other bytes only a packet that a chip
// is likely to send is one. All bytes come out once, in order.
//
// Not synchronised: one thread at a time.
class CPacketCutter {
public:
    void Append(std::span<const unsigned char> bytes);

    // The line was silent: the next byte may start a packet, even if the one before is not whole.
    void MarkBreak() { m_nBreak = m_Bytes.size(); }

    // The host sent something, which is a break too.
    void StartReply(LineProtocols protocol) {
        m_Protocol = protocol;
        MarkBreak();
    }

    // The next whole packet, or what came before it. None when more bytes are needed.
    std::optional<CUT_PIECE> TakeNext();

    // The host stopped waiting, so a packet that is not whole may be noise that only looks like the
    // start of one. True when whole packets were found in it: TakeNext gives them.
    bool LookInside();

    // What is left that starts no packet, or all that is left.
    std::optional<CUT_PIECE> TakeNoise() { return TakeFront(m_nNoise, false); }
    std::optional<CUT_PIECE> TakeRest() { return TakeFront(m_Bytes.size(), false); }

private:
    bool MayStartAt(std::size_t at) const;
    std::size_t EndOfPacketAt(std::size_t at) const;
    bool IsBrokenOff() const;
    std::optional<CUT_PIECE> TakeFront(std::size_t count, bool isPacket);

    LineProtocols m_Protocol = LINE_HCI;
    std::vector<unsigned char> m_Bytes;
    std::size_t m_nNoise = 0;  // bytes at the front that start no packet
    std::size_t m_nBreak = 0;
};
