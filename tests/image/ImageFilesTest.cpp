#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "image/ChipImageByteData.h"
#include "image/ImageText.h"
#include "support/CaseFile.h"
#include "support/SampleImages.h"
#include "support/TempFile.h"

namespace {

struct CImageFiles : testing::Test {
    std::string LoadHex(const std::string& text, bool clearFirst = true,
                        bool allowOverlap = false) {
        const CTempFile file(text);
        return m_Image.LoadFromHexFile(file.Name(), clearFirst, allowOverlap);
    }

    CChipImageByteData m_Image{"FIRMWARE", "Firmware code", "f"};
};

TEST_F(CImageFiles, HexFilesMakeTheImagesOfTheCases) {
    for (const FILE_CASE& testCase : ReadCases(HCILOAD_TEST_DATA "/hex_files.txt")) {
        const bool allowOverlap = testCase.Text("$") == "overlap\n";
        const std::string error = LoadHex(testCase.Text("|"), true, allowOverlap);
        EXPECT_EQ(error.empty() ? "" : error + "\n", testCase.Text("!")) << testCase.name;
        EXPECT_EQ(ImageText(m_Image) + "\n", testCase.Text(">")) << testCase.name;
    }
}

TEST_F(CImageFiles, HexFilesAddUp) {
    EXPECT_EQ(LoadHex(HexRecord(0, 0x10, {1, 2})), "");
    EXPECT_EQ(LoadHex(HexRecord(0, 0x08, {3}), false), "");
    EXPECT_EQ(LoadHex(HexRecord(0, 0x11, {4}), false), "Data overlap at address 0x00000011");
    EXPECT_EQ(LoadHex(HexRecord(0, 0x12, {5}), false), "");
    EXPECT_EQ(m_Image.LoadFromHexFile(nullptr, false, false), "Could not open file ");
    EXPECT_EQ(ImageText(m_Image), "first 10, launch -: 10:0102 8:03 12:05");
}

TEST_F(CImageFiles, ARunOfMoreThan16MiBIsRefused) {
    std::string bank = IntelHexText({{0, Bytes(0x10000)}});
    bank.erase(bank.size() - std::string(HEX_END_RECORD).size());
    std::string text;
    for (unsigned int upper = 0; upper <= 0xFF; ++upper) {
        text += HexRecord(4, 0, {0x10, static_cast<unsigned char>(upper)}) + bank;
    }
    const std::string next = HexRecord(4, 0, {0x11, 0x00});
    EXPECT_EQ(LoadHex(text + next + HexRecord(0, 1, {1})), "");
    EXPECT_EQ(m_Image.CountContiguousRanges(), 2U);
    EXPECT_EQ(m_Image.GetRangeByteSize(0), 16U << 20);
    EXPECT_EQ(LoadHex(text + next + HexRecord(0, 0, {1})),
              "More than 16 MiB of contiguous data at address 0x11000000");
    EXPECT_EQ(RangesText(m_Image), "");
    // Of records of one size, the one that no longer fits is named.
    text.erase(text.size() - 2 * HexRecord(0, 0, Bytes(16)).size());
    EXPECT_EQ(LoadHex(text + HexRecord(0, 0xFFE0, Bytes(4)) + HexRecord(0, 0xFFE4, Bytes(15)) +
                      HexRecord(0, 0xFFF3, Bytes(15))),
              "More than 16 MiB of contiguous data at address 0x10FFFFF3");
}

TEST_F(CImageFiles, ALongRunKeepsItsBytesWhenAnotherFollows) {
    const Bytes bytes = SampleBytes(6 << 20, 7);
    EXPECT_EQ(LoadHex(IntelHexText({{0x100, bytes}, {0x80000000, {1, 2, 3}}, {0, {4}}})), "");
    ASSERT_EQ(m_Image.CountContiguousRanges(), 3U);
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), m_Image.GetRangeBytePointer(0)));
    EXPECT_EQ(m_Image.GetRangeByteSize(0), bytes.size());
    EXPECT_EQ(m_Image.GetByteValueAtThisAddress(0x80000002), 3);
    EXPECT_EQ(m_Image.GetByteValueAtThisAddress(0), 4);
}

}  // namespace
