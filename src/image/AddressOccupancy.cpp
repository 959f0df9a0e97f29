#include "image/AddressOccupancy.h"

#include <algorithm>
#include <utility>

#include "util/Wrap32.h"

namespace {

// The bits of the word at index that stand for the addresses from first to last of a page.
std::uint64_t WordMask(unsigned int index, unsigned int first, unsigned int last) {
    const unsigned int from = std::max(first, index * 64) - index * 64;
    const unsigned int to = std::min(last, index * 64 + 63) - index * 64;
    constexpr std::uint64_t ALL = ~std::uint64_t{0};
    return ALL >> from << from & ALL >> (63 - to);
}

}  // namespace

// The rule compares the first address of a range with the end of the new one, and its last address
// with the start of the new one, all in 32 bits. So what ends at the top overlaps nothing. A range
// that wraps or is empty has a last address in front of its first: only what covers both overlaps
// it, so its first stands for it. The same holds the other way round for a new range that wraps. An
// empty range at 0 has the topmost last address and overlaps whatever does not end there.
bool CAddressOccupancy::Take(unsigned int address, unsigned int size) {
    const unsigned int end = WrappingAdd(address, size);
    const unsigned int last = size == 0 ? address : std::max(WrappingSubtract(end, 1), address);
    bool taken = m_bEverywhere;
    if (size == 0 && address == 0)
        m_bEverywhere = true;
    for (unsigned int first = address;;) {
        const unsigned int pageEnd = first | (PAGE_SIZE - 1);
        if (TakeInPage(first, std::min(pageEnd, last)))
            taken = true;
        if (pageEnd >= last)
            break;
        first = pageEnd + 1;
    }
    return taken && end != 0;
}

std::uint32_t& CAddressOccupancy::PageNumberAt(unsigned int address) {
    std::unique_ptr<Block>& block = m_Blocks[address / (PAGE_SIZE * PAGES)];
    if (!block)
        block = std::make_unique<Block>();
    return (*block)[address / PAGE_SIZE % PAGES];
}

bool CAddressOccupancy::TakeInPage(unsigned int address, unsigned int last) {
    std::uint32_t& number = PageNumberAt(address);
    if (number == FULL_PAGE)
        return true;
    if (last - address == PAGE_SIZE - 1)
        return std::exchange(number, FULL_PAGE) != FREE_PAGE;
    if (number == FREE_PAGE) {
        number = FIRST_PAGE + static_cast<std::uint32_t>(m_Pages.size());
        m_Pages.emplace_back();
    }
    Page& page = m_Pages[number - FIRST_PAGE];
    const unsigned int from = address % PAGE_SIZE;
    const unsigned int to = last % PAGE_SIZE;
    std::uint64_t taken = 0;
    for (unsigned int i = from / 64; i <= to / 64; ++i) {
        const std::uint64_t mask = WordMask(i, from, to);
        taken |= page[i] & mask;
        page[i] |= mask;
    }
    return taken != 0;
}
