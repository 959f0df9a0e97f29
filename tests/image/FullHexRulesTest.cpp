#include "support/FullHexRules.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "image/ChipImageByteData.h"
#include "image/ImageText.h"
#include "support/DamagedHex.h"
#include "support/TempFile.h"
#include "util/FormatText.h"
#include "util/Wrap32.h"

namespace {

struct Loaded {
    std::string error;
    unsigned int first = 0;
    CChipImageByteData image{"", "", ""};
};

// The loading rules as they are told, on top of the plain reading: each run is compared with each
// range before it.
Loaded LoadByFullRules(const CFullHexRules& plain, bool allowOverlap,
                       const CChipImageByteData& old) {
    Loaded result{plain.GetError(), 0, old};
    std::vector<unsigned char> run;
    unsigned int start = 0;
    const auto closeRun = [&] {
        unsigned int where = 0;
        const auto size = static_cast<unsigned int>(run.size());
        if (run.empty()) {
            return true;
        }
        if (!allowOverlap && result.image.Overlaps(start, size, &where)) {
            result.error = FormatText("Data overlap at address 0x%08X", where);
            return false;
        }
        CByteBuffer range(run.data(), size, BYTE_BUFFER_OWNED);
        range.SetBaseAddress(start);
        result.image.AddRange(range);
        run.clear();
        return true;
    };
    for (const CFullHexRules::Data& data : plain.GetData()) {
        if (run.empty() || data.address != start + static_cast<unsigned int>(run.size())) {
            if (!closeRun()) {
                return result;
            }
            start = data.address;
        }
        run.insert(run.end(), data.bytes.begin(), data.bytes.end());
    }
    if (result.error.empty()) {
        closeRun();
    }
    return result;
}

void ExpectSameImage(const std::string& text, bool allowOverlap, const CChipImageByteData& old) {
    const CTempFile file(text);
    const CFullHexRules plain(file.Name());
    const Loaded expected = LoadByFullRules(plain, allowOverlap, old);
    CChipImageByteData image = old;
    ASSERT_EQ(image.LoadFromHexFile(file.Name(), false, allowOverlap), expected.error) << text;
    ASSERT_EQ(RangesText(image), RangesText(expected.image)) << text;
    if (!plain.GetData().empty() && image.CountContiguousRanges() > 0) {
        const unsigned int first = plain.GetData().front().address;
        EXPECT_EQ(image.GetFirstAddressLoaded(),
                  image.FindRangeWithThisAddress(first) < 0 ? 0 : first);
    }
}

TEST(FullHexRules, WellFormedAndDamagedFilesLoadTheSame) {
    for (unsigned int seed = 0; seed < 600; ++seed) {
        CDamagedHex hex(seed);
        std::string text = hex.Records(1 + hex.Below(80), 1 + hex.Below(80)) + HEX_END_RECORD;
        hex.Damage(text, hex.Below(4));
        const bool allowOverlap = hex.Below(2) == 0;
        ExpectSameImage(text, allowOverlap, CChipImageByteData("", "", ""));
        ASSERT_FALSE(HasFailure()) << seed;
    }
}

// Longer than the block in which the text is read, so that lines are cut by its end at all places.
TEST(FullHexRules, LongFilesLoadTheSame) {
    for (unsigned int seed = 0; seed < 8; ++seed) {
        CDamagedHex hex(seed);
        std::string text = "$";
        text.append(seed, ' ').append("\n").append(hex.Records(9000, 9000));
        hex.Damage(text, seed % 2);
        ExpectSameImage(text, true, CChipImageByteData("", "", ""));
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
    constexpr unsigned int COUNT = 20000;
    CDamagedHex hex(1);
    std::vector<unsigned int> order(COUNT);
    for (unsigned int i = 0; i < COUNT; ++i) {
        order[i] = i;
    }
    for (unsigned int i = COUNT - 1; i > 0; --i) {
        std::swap(order[i], order[hex.Below(i + 1)]);
    }
    std::string text;
    for (const unsigned int i : order) {
        const unsigned int address = i * 11;
        text += HexRecord(4, 0, {0, static_cast<unsigned char>(address >> 16)}) +
                HexRecord(0, address & 0xFFFF, std::vector<unsigned char>(10, 1));
    }
    const CTempFile good(text);
    CChipImageByteData image("", "", "");
    EXPECT_EQ(image.LoadFromHexFile(good.Name(), true, false), "");
    EXPECT_EQ(image.CountContiguousRanges(), COUNT);
    const CTempFile bad(text + HexRecord(4, 0, {0, 0}) + HexRecord(0, 109, {1, 2, 3}) +
                        HexRecord(0, 0x8000, {1}));
    EXPECT_EQ(image.LoadFromHexFile(bad.Name(), true, false), "Data overlap at address 0x0000006E");
    EXPECT_EQ(image.CountContiguousRanges(), COUNT);
}

}  // namespace
