#include "transport/PacketCutter.h"

#include <algorithm>
#include <limits>

namespace {

constexpr unsigned char EVENT_INDICATOR = 0x04;
constexpr unsigned char NCI_INDICATOR = 0x10;

// Noise is handed out in pieces of this size: a flood of it must not pile up.
constexpr std::size_t MOST_NOISE = 1024;

// Of the header, what is there. The events: Command Complete, Command Status, Hardware Error,
// vendor-specific.
bool IsLikelyEvent(std::span<const unsigned char> header) {
    constexpr struct {
        unsigned char m_nCode;
        unsigned char m_nShortest;
        unsigned char m_nLongest;
    } EVENTS[] = {{0x0E, 3, 255}, {0x0F, 4, 4}, {0x10, 1, 1}, {0xFF, 1, 255}};
    return std::ranges::any_of(EVENTS, [&](const auto& event) {
        return (header.size() < 2 || header[1] == event.m_nCode) &&
               (header.size() < 3 ||
                (header[2] >= event.m_nShortest && header[2] <= event.m_nLongest));
    });
}

// A control packet that only a chip sends: a response or a notification.
bool IsLikelyNci(std::span<const unsigned char> header) {
    return (header.size() < 2 || (header[1] & 0xE0) == 0x40 || (header[1] & 0xE0) == 0x60) &&
           (header.size() < 3 || header[2] < 0x40);
}

}  // namespace

void CPacketCutter::Append(std::span<const unsigned char> bytes) {
    m_Bytes.insert(m_Bytes.end(), bytes.begin(), bytes.end());
}

bool CPacketCutter::MayStartAt(std::size_t at) const {
    const auto header = std::span(m_Bytes).subspan(at);
    if (header.front() != (m_Protocol == LINE_NCI ? NCI_INDICATOR : EVENT_INDICATOR)) {
        return false;
    }
    return at == 0 || (m_Protocol == LINE_NCI ? IsLikelyNci(header) : IsLikelyEvent(header));
}

// Past all bytes for a packet whose length has not come.
std::size_t CPacketCutter::EndOfPacketAt(std::size_t at) const {
    const std::size_t lengthAt = at + (m_Protocol == LINE_NCI ? 3 : 2);
    return lengthAt < m_Bytes.size() ? lengthAt + 1 + m_Bytes[lengthAt]
                                     : std::numeric_limits<std::size_t>::max();
}

// Whether another packet starts at the break within the one that starts behind the noise. As long
// as neither the packet nor the other one's header is whole, more bytes may tell.
bool CPacketCutter::IsBrokenOff() const {
    const std::size_t end = EndOfPacketAt(m_nNoise);
    if (m_nBreak <= m_nNoise || m_nBreak >= std::min(end, m_Bytes.size())) {
        return false;
    }
    const bool isDecided = end <= m_Bytes.size() || m_Bytes.size() - m_nBreak >= 3;
    return isDecided && MayStartAt(m_nBreak);
}

std::optional<CUT_PIECE> CPacketCutter::TakeNext() {
    while (m_nNoise < m_Bytes.size() && (!MayStartAt(m_nNoise) || IsBrokenOff())) {
        ++m_nNoise;
    }
    const std::size_t end = EndOfPacketAt(m_nNoise);
    if (m_nNoise >= MOST_NOISE || (m_nNoise > 0 && end <= m_Bytes.size())) {
        return TakeFront(m_nNoise, false);
    }
    return end <= m_Bytes.size() ? TakeFront(end, true) : std::nullopt;
}

bool CPacketCutter::LookInside() {
    for (std::size_t at = m_nNoise + 1; at < m_Bytes.size(); ++at) {
        if (MayStartAt(at) && EndOfPacketAt(at) <= m_Bytes.size()) {
            m_nNoise = at;
            return true;
        }
    }
    return false;
}

std::optional<CUT_PIECE> CPacketCutter::TakeFront(std::size_t count, bool isPacket) {
    if (count == 0) {
        return std::nullopt;
    }
    const auto end = m_Bytes.begin() + static_cast<std::ptrdiff_t>(count);
    CUT_PIECE piece{{m_Bytes.begin(), end}, isPacket && m_Protocol == LINE_HCI};
    m_Bytes.erase(m_Bytes.begin(), end);
    m_nNoise = 0;
    m_nBreak -= std::min(m_nBreak, count);
    return piece;
}
