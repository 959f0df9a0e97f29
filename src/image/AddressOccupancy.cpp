#include "image/AddressOccupancy.h"

#include <algorithm>
#include <utility>

#include "util/Wrap32.h"

// Overlaps compares in 32 bits: the end of the new range with the first address of an earlier one,
// and the last address of the earlier one with the start of the new one. Hence:
// - A new range that ends at the top of the address space has its end at 0 and overlaps nothing.
// - The last address of a wrapping or empty range lies before its first. Only a range that covers
//   both overlaps it, so it is recorded by its first address, and asked for in the same way.
// - The last address of an empty range at 0 is 0xFFFFFFFF, so every range that does not end at the
//   top overlaps it.
bool CAddressOccupancy::Take(unsigned int address, unsigned int size) {
    const unsigned int end = WrappingAdd(address, size);
    const unsigned int last = size == 0 ? address : std::max(WrappingSubtract(end, 1), address);
    bool taken = m_bEverywhere;
    if (size == 0 && address == 0) {
        m_bEverywhere = true;
    }
    for (unsigned int first = address;;) {
        const unsigned int pageEnd = first | (PAGE_SIZE - 1);
        if (TakeInPage(first, std::min(pageEnd, last))) {
            taken = true;
        }
        if (pageEnd >= last) {
            break;
        }
        first = pageEnd + 1;
    }
    return taken && end != 0;
}

CAddressOccupancy::Page*& CAddressOccupancy::PageAt(unsigned int address) {
    std::unique_ptr<Block>& block = m_Blocks[address / (PAGE_SIZE * PAGES)];
    if (!block) {
        block = std::make_unique<Block>();
    }
    return (*block)[address / PAGE_SIZE % PAGES];
}

bool CAddressOccupancy::TakeInPage(unsigned int address, unsigned int last) {
    Page*& page = PageAt(address);
    if (last - address == PAGE_SIZE - 1) {
        return std::exchange(page, &m_FullPage) != nullptr;
    }
    if (page == nullptr) {
        page = &m_Pages.emplace_back();
    }
    // Short ranges lie in one word or two. Branch-free, so that the lookups of ranges overlap.
    constexpr std::uint64_t ALL = ~std::uint64_t{0};
    const unsigned int firstWord = address % PAGE_SIZE / 64;
    const unsigned int lastWord = last % PAGE_SIZE / 64;
    const std::uint64_t from = ALL >> address % 64 << address % 64;
    const std::uint64_t to = ALL >> (63 - last % 64);
    const std::uint64_t firstMask = firstWord == lastWord ? from & to : from;
    const std::uint64_t lastMask = firstWord == lastWord ? from & to : to;
    std::uint64_t taken = ((*page)[firstWord] & firstMask) | ((*page)[lastWord] & lastMask);
    for (unsigned int i = firstWord + 1; i < lastWord; ++i) {
        taken |= std::exchange((*page)[i], ALL);
    }
    (*page)[firstWord] |= firstMask;
    (*page)[lastWord] |= lastMask;
    return taken != 0;
}
