#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "image/AddressOrder.h"
#include "util/Crc32.h"

// Bytes at consecutive addresses, of which only the first are kept. Small, since a file may have
// very many areas.
class CMemoryArea {
public:
    // At least one byte. None beyond 4 GiB, here and below.
    CMemoryArea(std::uint32_t address, std::span<const unsigned char> bytes);
    void Append(std::span<const unsigned char> bytes);

    std::uint32_t First() const { return m_nFirst; }
    std::uint32_t Last() const { return m_nLast; }
    std::uint64_t Size() const { return std::uint64_t{m_nLast} - m_nFirst + 1; }
    std::uint64_t End() const { return std::uint64_t{m_nLast} + 1; }
    std::uint32_t Crc() const { return final_update_crc(m_nRunningCrc, nullptr, 0); }
    // Eight bytes, or as many as there are.
    std::span<const unsigned char> Start() const {
        return std::span(m_Start).first(std::min<std::uint64_t>(Size(), m_Start.size()));
    }

private:
    std::uint32_t m_nFirst = 0;
    std::uint32_t m_nLast = 0;
    std::uint32_t m_nRunningCrc = 0;
    std::array<unsigned char, 8> m_Start{};
};

class CMemoryAreas {
public:
    // Bytes that continue those added last belong to the same area.
    void Add(std::uint32_t address, std::span<const unsigned char> bytes);

    // By address. False when areas overlap, or continue others that were not added just before.
    [[nodiscard]] bool Sort();

    std::size_t Count() const { return m_Areas.size(); }
    std::uint64_t CountBytes() const { return m_nBytes; }
    // The one added last.
    const CMemoryArea& Back() const { return m_Areas.back(); }

    // take(area, bytes of the gap before it) gets each, in the order of Sort.
    template <typename Take>
    void ForEach(const Take& take) const {
        constexpr std::size_t AHEAD = 16;  // after a sort, they are anywhere in memory
        std::uint64_t end = m_Order.empty() ? 0 : m_Order.front().m_nAddress;
        for (std::size_t i = 0; i < m_Order.size(); ++i) {
            __builtin_prefetch(&m_Areas[m_Order[std::min(i + AHEAD, m_Order.size() - 1)].m_nIndex]);
            const CMemoryArea& area = m_Areas[m_Order[i].m_nIndex];
            take(area, area.First() - end);
            end = area.End();
        }
    }

private:
    std::uint64_t m_nBytes = 0;
    std::vector<CMemoryArea> m_Areas;
    std::vector<CAddressRange> m_Order;
};
