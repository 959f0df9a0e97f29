#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <memory>

// Filters ranges that CChipImageByteData::Overlaps need not compare with every other: false is
// final; on true, ask Overlaps. One bit for each address, in pages that exist only where some but
// not all of their addresses are taken.
class CAddressOccupancy {
public:
    CAddressOccupancy() { m_FullPage.fill(~std::uint64_t{0}); }
    CAddressOccupancy(const CAddressOccupancy&) = delete;
    CAddressOccupancy& operator=(const CAddressOccupancy&) = delete;

    // Takes the addresses of a range. True when it may overlap an earlier one.
    [[nodiscard]] bool Take(unsigned int address, unsigned int size);

private:
    static constexpr unsigned int PAGE_SIZE = 1024;  // addresses
    static constexpr unsigned int PAGES = 1024;      // in a block
    static constexpr unsigned int BLOCKS = 4096;

    using Page = std::array<std::uint64_t, PAGE_SIZE / 64>;
    using Block = std::array<Page*, PAGES>;

    bool TakeInPage(unsigned int address, unsigned int last);
    // Null while none of the page's addresses is taken.
    Page*& PageAt(unsigned int address);

    std::array<std::unique_ptr<Block>, BLOCKS> m_Blocks;
    std::deque<Page> m_Pages;
    Page m_FullPage;  // shared by all pages that are taken whole
    bool m_bEverywhere = false;
};
