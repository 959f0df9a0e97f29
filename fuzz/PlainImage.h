#pragma once

#include <string>
#include <vector>

#include "FuzzInput.h"
#include "image/ChipImageByteData.h"

// An image as plain data, to compare what a loader made with what it should have made.
struct PLAIN_RANGE {
    std::uint32_t address = 0;
    std::vector<unsigned char> bytes;
    unsigned char flag = 0;

    bool operator==(const PLAIN_RANGE&) const = default;
};

using PlainImage = std::vector<PLAIN_RANGE>;

inline PlainImage RangesOf(const CChipImageByteData& image) {
    PlainImage ranges;
    for (unsigned int i = 0; i < image.CountContiguousRanges(); ++i) {
        const unsigned char* const bytes = image.GetRangeBytePointer(i);
        ranges.push_back({image.GetRangeStartingAddress(i),
                          {bytes, bytes + image.GetRangeByteSize(i)},
                          image.GetByteBuffer(i).GetFlag()});
    }
    return ranges;
}

// The addresses of an image point into it, and what it says about an address is what it holds.
inline void CheckAddresses(const CChipImageByteData& image) {
    if (image.IsLaunchAddressKnown()) {
        FUZZ_CHECK(image.FindRangeWithThisAddress(image.GetLaunchAddress()) >= 0);
    }
    unsigned int total = 0;
    for (unsigned int i = 0; i < image.CountContiguousRanges(); ++i) {
        const std::uint64_t size = image.GetRangeByteSize(i);
        const unsigned int address = image.GetRangeStartingAddress(i);
        total += image.GetRangeByteSize(i);
        // A range that runs past the last address is no range of addresses.
        if (size > 0 && address + size <= 0xFFFFFFFFU) {
            FUZZ_CHECK(image.GetByteValueAtThisAddress(address) >= 0);
        }
    }
    FUZZ_CHECK(image.GetTotalByteSize() == total);
    CChipImageByteData copy("", "", "");
    copy = image;
    FUZZ_CHECK(RangesOf(copy) == RangesOf(image));
}
