#include "image/AddressOrder.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

// An address is three digits of 11 bits.
constexpr unsigned int DIGITS = 3;
constexpr unsigned int DIGIT_BITS = 11;
constexpr std::size_t DIGIT_VALUES = std::size_t{1} << DIGIT_BITS;

std::size_t Digit(std::uint32_t address, unsigned int number) {
    return address >> number * DIGIT_BITS & (DIGIT_VALUES - 1);
}

}  // namespace

void SortByAddress(std::vector<CAddressRange>& ranges) {
    std::array<std::array<std::size_t, DIGIT_VALUES>, DIGITS> counts{};
    for (const CAddressRange& range : ranges) {
        for (unsigned int number = 0; number < DIGITS; ++number) {
            ++counts[number][Digit(range.m_nAddress, number)];
        }
    }
    std::vector<CAddressRange> sorted(ranges.size());
    for (unsigned int number = 0; number < DIGITS; ++number) {
        auto& next = counts[number];
        if (std::ranges::find(next, ranges.size()) != next.end()) {
            continue;  // all have the same digit
        }
        std::size_t before = 0;
        for (std::size_t& start : next) {
            before += std::exchange(start, before);
        }
        for (const CAddressRange& range : ranges) {
            sorted[next[Digit(range.m_nAddress, number)]++] = range;
        }
        ranges.swap(sorted);
    }
}
