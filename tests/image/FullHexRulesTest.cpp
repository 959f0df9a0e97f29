#include "support/FullHexRules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "image/ImageText.h"
#include "support/DamagedHex.h"
#include "support/TempFile.h"

namespace {

void ExpectSameImage(const std::string& text, bool allowOverlap,
                     const CChipImageByteData& old = CChipImageByteData("", "", "")) {
    const CTempFile file(text);
    CChipImageByteData expected = old;
    CChipImageByteData image = old;
    const std::string error = LoadByFullRules(file.Name(), allowOverlap, expected);
    ASSERT_EQ(image.LoadFromHexFile(file.Name(), false, allowOverlap), error) << text;
    ASSERT_EQ(ImageText(image), ImageText(expected)) << text;
}

TEST(FullHexRules, WellFormedAndDamagedFilesLoadTheSame) {
    for (unsigned int seed = 0; seed < 600; ++seed) {
        CDamagedHex hex(seed);
        std::string text = hex.Records(1 + hex.Below(80), 1 + hex.Below(80)) + HEX_END_RECORD;
        hex.Damage(text, hex.Below(4));
        ExpectSameImage(text, hex.Below(2) == 0);
        ASSERT_FALSE(HasFailure()) << seed;
    }
}

// Longer than the block in which the text is read, so that its end cuts lines at all places.
TEST(FullHexRules, LongFilesLoadTheSame) {
    for (unsigned int seed = 0; seed < 8; ++seed) {
        CDamagedHex hex(seed);
        std::string text = "$" + std::string(seed, ' ') + "\n" + hex.Records(9000, 9000);
        hex.Damage(text, seed % 2);
        ExpectSameImage(text, true);
    }
}

// Old ranges that are empty, that wrap, that end at the top or overlap each other.
TEST(FullHexRules, OverlapsAreFoundAsInListOrder) {
    for (unsigned int seed = 0; seed < 600; ++seed) {
        CDamagedHex hex(seed);
        CChipImageByteData old("", "", "");
        for (unsigned int i = hex.Below(5); i > 0; --i) {
            CByteBuffer range(hex.Below(4) == 0 ? 0 : hex.Below(hex.Below(3000) + 1), 0xEE);
            const unsigned int bases[] = {0, hex.Below(0x20000), 0xFFFE0000 + hex.Below(0x20000),
                                          WrappingSubtract(0, range.GetDataByteSize())};
            range.SetBaseAddress(bases[hex.Below(4)]);
            old.AddRange(range);
        }
        // Short runs, or some that fill whole kilobytes.
        const bool longRuns = seed % 2 == 1;
        ExpectSameImage(longRuns ? hex.Records(300, 100) : hex.Records(hex.Below(12) + 1, 3), false,
                        old);
        ASSERT_FALSE(HasFailure()) << seed;
    }
}

TEST(FullHexRules, ManyShuffledRangesAndTheOneThatOverlaps) {
    std::vector<unsigned int> addresses(8000);
    std::iota(addresses.begin(), addresses.end(), 0);
    std::shuffle(addresses.begin(), addresses.end(), std::mt19937(1));
    std::string text;
    for (unsigned int& address : addresses) {
        address *= 11;
        text += HexRecord(4, 0, {0, static_cast<unsigned char>(address >> 16)}) +
                HexRecord(0, address & 0xFFFF, std::vector<unsigned char>(10, 1));
    }
    ExpectSameImage(text, false);
    ExpectSameImage(
        text + HexRecord(4, 0, {0, 0}) + HexRecord(0, 109, {1, 2, 3}) + HexRecord(0, 0x8000, {1}),
        false);
}

}  // namespace
