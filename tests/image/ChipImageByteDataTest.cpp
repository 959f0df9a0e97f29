#include "image/ChipImageByteData.h"

#include <gtest/gtest.h>

#include <string>

#include "image/ImageText.h"
#include "support/HexBytes.h"

namespace {

void Add(CChipImageByteData& image, unsigned int address, unsigned int size, unsigned char fill) {
    CByteBuffer range(size, fill);
    range.SetBaseAddress(address);
    image.AddRange(range);
}

struct CChipImageTest : testing::Test {
    CChipImageByteData m_Image{"FIRMWARE", nullptr, "a.hex"};
};

TEST_F(CChipImageTest, ClearingKeepsTheLabels) {
    Add(m_Image, 0x100, 4, 0xAA);
    EXPECT_TRUE(m_Image.SetLaunchAddress(0x103));
    EXPECT_TRUE(m_Image.SetFirstAddressLoaded(0x100));
    m_Image.Clear();
    EXPECT_EQ(ImageText(m_Image), "first 0, launch -:");
    EXPECT_STREQ(m_Image.GetSourceType(), "FIRMWARE");
    EXPECT_STREQ(m_Image.GetName(), "");
    EXPECT_STREQ(m_Image.GetSourceId(), "a.hex");
}

TEST_F(CChipImageTest, AddressesAreFoundInTheFirstRangeThatHoldsThem) {
    Add(m_Image, 0x108, 8, 0);
    Add(m_Image, 0x100, 0x10, 1);
    Add(m_Image, 0x200, 0, 2);
    Add(m_Image, 0xFFFFFFF0, 0x10, 3);
    Add(m_Image, 0xFFFFFFFF, 1, 4);
    Add(m_Image, 0x100, 0x100, 5);
    const std::pair<unsigned int, int> ranges[] = {
        {0xFF, -1}, {0x100, 1},  {0x107, 1},       {0x108, 0},      {0x10F, 0}, {0x110, 5},
        {0x1FF, 5}, {0x200, -1}, {0xFFFFFFEF, -1}, {0xFFFFFFF0, 3}, {0, -1},    {0xFFFFFFFF, 3},
    };
    for (const auto& [address, range] : ranges) {
        EXPECT_EQ(m_Image.FindRangeWithThisAddress(address), range) << address;
        EXPECT_EQ(m_Image.GetByteValueAtThisAddress(address), range) << address;
        EXPECT_EQ(m_Image.SetLaunchAddress(address), range >= 0);
        EXPECT_EQ(m_Image.SetFirstAddressLoaded(address), range >= 0);
    }
    EXPECT_EQ(m_Image.GetLaunchAddress(), 0xFFFFFFFFU);
    EXPECT_EQ(m_Image.GetFirstAddressLoaded(), 0xFFFFFFFFU);
    EXPECT_EQ(m_Image.GetTotalByteSize(), 0x129U);
}

// Sums wrap at 32 bits: what ends at 0xFFFFFFFF ends at 0.
TEST_F(CChipImageTest, OverlapsFollowTheFormulaAcrossTheWrapAndInListOrder) {
    const struct {
        unsigned int base, size;  // the first range; the second is 0x50000000 to 0x5000000F
        unsigned int addr, count;
        bool overlaps;
        unsigned int where;
    } cases[] = {
        {0x100, 0x10, 0xF0, 0x10, false, 0},
        {0x100, 0x10, 0xF0, 0x11, true, 0x100},
        {0x100, 0x10, 0x110, 1, false, 0},
        {0x100, 0x10, 0x104, 0, true, 0x104},
        {0x100, 0x10, 0x100, 0, false, 0},
        {0, 0x10, 0, 1, true, 0},
        {0, 0x10, 0xFFFFFFFF, 2, false, 0},
        {0xFFFFFFFF, 1, 0xFFFFFFFF, 1, false, 0},
        {0xFFFFFFF0, 0x10, 0xFFFFFFF8, 4, true, 0xFFFFFFF8},
        {0xFFFFFFF0, 0x10, 0xFFFFFFF8, 8, false, 0},
        {0xFFFFFFF0, 0x20, 0xFFFFFFF8, 4, false, 0},
        // The last byte of an empty range lies before it: at the very top for one at 0.
        {0x100, 0, 0xF0, 0x20, true, 0x100},
        {0x100, 0, 0x100, 0x20, false, 0},
        {0, 0, 0x5000, 1, true, 0x5000},
        // Both ranges, and only the second.
        {0x60000000, 0x10, 0x40000000, 0x30000000, true, 0x60000000},
        {0x60000000, 0x10, 0x50000004, 4, true, 0x50000004},
    };
    for (const auto& c : cases) {
        m_Image.Clear();
        Add(m_Image, c.base, c.size, 0);
        Add(m_Image, 0x50000000, 0x10, 0);
        unsigned int where = 0xEEEEEEEE;
        EXPECT_EQ(m_Image.Overlaps(c.addr, c.count, &where), c.overlaps) << c.base << ' ' << c.addr;
        EXPECT_EQ(where, c.overlaps ? c.where : 0xEEEEEEEE) << c.base << ' ' << c.addr;
    }
}

TEST_F(CChipImageTest, BytesAreModifiedInsideARangeOnly) {
    Add(m_Image, 0x100, 4, 0);
    EXPECT_EQ(m_Image.ModifyRangeByte(1, 0, 1), "Invalid range index.");
    EXPECT_EQ(m_Image.ModifyRangeByte(0, 4, 1), "Invalid byte offset.");
    EXPECT_EQ(m_Image.ModifyRangeByte(0, 3, 0x5A), "");
    const std::string tooMany = ToHex(Bytes(8193));
    for (const char* text : {"zz", "", static_cast<const char*>(nullptr), tooMany.c_str()}) {
        EXPECT_EQ(m_Image.ModifySeveralBytes(0, 0, text), "Failed to parse hex bytes.");
    }
    const std::string tooFar = "Invalid byte offset and/or data size.";
    EXPECT_EQ(m_Image.ModifySeveralBytes(1, 0, "zz"), "Invalid range index.");
    EXPECT_EQ(m_Image.ModifySeveralBytes(0, 3, "1 2"), tooFar);
    EXPECT_EQ(m_Image.ModifySeveralBytes(0, 0xFFFFFFFF, "1 2"), tooFar);
    EXPECT_EQ(m_Image.ModifySeveralBytes(0, 0, "1 2 3 4 5"), tooFar);
    EXPECT_EQ(m_Image.ModifySeveralBytes(0, 1, "0xA1 b2"), "");
    EXPECT_EQ(ImageText(m_Image), "first 0, launch -: 100:00A1B25A");
}

}  // namespace
