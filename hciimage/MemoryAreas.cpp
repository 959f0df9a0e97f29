#include "hciimage/MemoryAreas.h"

#include <algorithm>

#include "util/Crc32.h"

CMemoryArea::CMemoryArea(std::uint32_t address, std::span<const unsigned char> bytes)
    : m_nFirst(address),
      m_nLast(static_cast<std::uint32_t>(address + bytes.size() - 1)),
      m_nRunningCrc(
          update_crc(INITIAL_CRC_VALUE, bytes.data(), static_cast<unsigned int>(bytes.size()))) {
    std::copy_n(bytes.begin(), std::min(bytes.size(), m_Start.size()), m_Start.begin());
}

void CMemoryArea::Append(std::span<const unsigned char> bytes) {
    if (Size() < m_Start.size()) {
        const std::size_t missing = m_Start.size() - Size();
        std::copy_n(bytes.begin(), std::min(bytes.size(), missing), m_Start.begin() + Size());
    }
    m_nRunningCrc =
        update_crc(m_nRunningCrc, bytes.data(), static_cast<unsigned int>(bytes.size()));
    m_nLast += static_cast<std::uint32_t>(bytes.size());
}

void CMemoryAreas::Add(std::uint32_t address, std::span<const unsigned char> bytes) {
    m_nBytes += bytes.size();
    if (!m_Areas.empty() && m_Areas.back().End() == address) {
        m_Areas.back().Append(bytes);
    } else {
        m_Areas.emplace_back(address, bytes);
    }
}

bool CMemoryAreas::Sort() {
    m_Order.clear();
    m_Order.reserve(m_Areas.size());
    for (const CMemoryArea& area : m_Areas) {
        m_Order.push_back({area.First(), static_cast<std::uint32_t>(area.Size()),
                           static_cast<std::uint32_t>(m_Order.size())});
    }
    if (!std::ranges::is_sorted(m_Order, {}, &CAddressRange::m_nAddress)) {
        SortByAddress(m_Order);
    }
    const auto touches = [](const CAddressRange& left, const CAddressRange& right) {
        return left.End() >= right.m_nAddress;
    };
    return std::ranges::adjacent_find(m_Order, touches) == m_Order.end();
}
