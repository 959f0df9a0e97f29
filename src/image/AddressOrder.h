#pragma once

#include <cstdint>
#include <vector>

struct CAddressRange {
    std::uint32_t m_nAddress = 0;
    std::uint32_t m_nSize = 0;
    std::uint32_t m_nIndex = 0;  // in a list of what is there

    std::uint64_t End() const { return std::uint64_t{m_nAddress} + m_nSize; }
};

// Sorts by address, the earlier first of equal ones, in linear time: an image may have very many
// ranges in no order.
void SortByAddress(std::vector<CAddressRange>& ranges);
