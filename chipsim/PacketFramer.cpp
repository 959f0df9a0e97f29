#include "chipsim/PacketFramer.h"

#include <algorithm>

void CPacketFramer::Append(std::span<const unsigned char> bytes) {
    m_Bytes.insert(m_Bytes.end(), bytes.begin(), bytes.end());
}

bool CPacketFramer::TakePacket(std::vector<unsigned char>& packet) {
    const auto start = std::find_if(m_Bytes.begin(), m_Bytes.end(), [](unsigned char byte) {
        return byte == HCI_COMMAND_INDICATOR || byte == NCI_INDICATOR;
    });
    TakeFront(static_cast<std::size_t>(start - m_Bytes.begin()));
    if (m_Bytes.size() < HEADER_SIZE) {
        return false;
    }
    const std::size_t size = HEADER_SIZE + m_Bytes[HEADER_SIZE - 1];
    if (m_Bytes.size() < size) {
        return false;
    }
    packet = TakeFront(size);
    return true;
}

std::vector<unsigned char> CPacketFramer::TakeFront(std::size_t count) {
    const auto end = m_Bytes.begin() + static_cast<std::ptrdiff_t>(count);
    std::vector<unsigned char> front(m_Bytes.begin(), end);
    m_Bytes.erase(m_Bytes.begin(), end);
    if (m_pObserver != nullptr && count > 0) {
        m_pObserver->SentByHost(front);
    }
    return front;
}
