#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "image/ChipImageByteData.h"
#include "image/ImageText.h"
#include "support/HexRecord.h"
#include "support/SampleImages.h"
#include "support/TempFile.h"

namespace {

using namespace std::string_literals;

struct CImageFilesTest : testing::Test {
    std::string LoadHex(const std::string& text, bool clearFirst = true,
                        bool allowOverlap = false) {
        const CTempFile file(text);
        return m_Image.LoadFromHexFile(file.Name(), clearFirst, allowOverlap);
    }

    CChipImageByteData m_Image{"FIRMWARE", "Firmware code", "f"};
};

TEST_F(CImageFilesTest, HexRunsAndOverlaps) {
    const std::string at0 = HexRecord(0, 0, {1, 2});
    const std::string at2 = HexRecord(0, 2, {3});
    const std::string top = HexRecord(4, 0, {0xFF, 0xFF});
    const std::string wrap = top + HexRecord(0, 0xFFFE, {7, 8}) + HexRecord(4, 0, {0, 0});
    const struct {
        const char* name;
        std::string text;
        bool allowOverlap;
        std::string ranges;
        unsigned int first;
        std::string error;
    } cases[] = {
        {"merged", at0 + at2, false, "0:010203", 0, ""},
        {"backwards", at2 + at0, false, "2:03 0:0102", 2, ""},
        {"gap", at0 + HexRecord(0, 8, {9}), false, "0:0102 8:09", 0, ""},
        {"empty records", at0 + HexRecord(0, 0x50, {}) + at2, false, "0:010203", 0, ""},
        {"overlap ends the load",
         HexRecord(0, 0x100, std::vector<unsigned char>(2, 5)) + at0 + HexRecord(0, 0x101, {6}) +
             at2,
         false, "100:0505 0:0102", 0x100, "Data overlap at address 0x00000101"},
        {"overlap at the end", at0 + HexRecord(0, 1, {6}), false, "0:0102", 0,
         "Data overlap at address 0x00000001"},
        {"overlap allowed", at0 + HexRecord(0, 1, {6}), true, "0:0102 1:06", 0, ""},
        {"up to the top", top + HexRecord(0, 0xFFFF, {9}), false, "FFFFFFFF:09", 0xFFFFFFFF, ""},
        {"across the wrap", wrap + at0, false, "FFFFFFFE:07080102", 0xFFFFFFFE, ""},
        {"the top twice", wrap + HexRecord(0, 4, {1}) + wrap, false,
         "FFFFFFFE:0708 4:01 FFFFFFFE:0708", 0xFFFFFFFE, ""},
        {"bad line", at0 + HexRecord(0, 8, {9}) + "x\n", false, "0:0102", 0,
         "Invalid intel hex data format: ValidateIntelHexLine: Line too short: x"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(LoadHex(c.text, true, c.allowOverlap), c.error) << c.name;
        EXPECT_EQ(ImageText(m_Image), c.ranges) << c.name;
        EXPECT_EQ(m_Image.GetFirstAddressLoaded(), c.first) << c.name;
        EXPECT_FALSE(m_Image.IsLaunchAddressKnown());
    }
}

TEST_F(CImageFilesTest, HexFilesAddUp) {
    EXPECT_EQ(LoadHex(HexRecord(0, 0x10, {1, 2})), "");
    EXPECT_EQ(LoadHex(HexRecord(0, 0x08, {3}), false), "");
    EXPECT_EQ(LoadHex(HexRecord(0, 0x11, {4}), false), "Data overlap at address 0x00000011");
    EXPECT_EQ(LoadHex(HexRecord(0, 0x12, {5}), false), "");
    EXPECT_EQ(ImageText(m_Image), "10:0102 8:03 12:05");
    EXPECT_EQ(m_Image.GetFirstAddressLoaded(), 0x10U);
    EXPECT_EQ(m_Image.LoadFromHexFile("/no/file", false, false), "Could not open file /no/file");
    EXPECT_EQ(m_Image.LoadFromHexFile("", false, false), "Could not open file ");
    EXPECT_EQ(m_Image.LoadFromHexFile(nullptr, false, false), "Could not open file ");
    EXPECT_EQ(ImageText(m_Image), "10:0102 8:03 12:05");
    EXPECT_EQ(LoadHex("junk"),
              "Invalid file format: Invalid intel hex data format: ValidateIntelHexLine: Line too "
              "short: junk");
    EXPECT_EQ(ImageText(m_Image), "");
}

TEST_F(CImageFilesTest, ARunOfMoreThan16MiBIsRefused) {
    constexpr unsigned int LIMIT = 16 * 1024 * 1024;
    std::string text;
    for (unsigned int upper = 0; upper < LIMIT >> 16; ++upper) {
        text += HexRecord(4, 0, {0x10, static_cast<unsigned char>(upper)});
        for (unsigned int low = 0; low < 0x10000; low += 128) {
            text += HexRecord(0, low, std::vector<unsigned char>(128, 0x42));
        }
    }
    EXPECT_EQ(LoadHex(text), "");
    EXPECT_EQ(m_Image.CountContiguousRanges(), 1U);
    EXPECT_EQ(m_Image.GetTotalByteSize(), LIMIT);
    text += HexRecord(4, 0, {0x11, 0x00});
    EXPECT_EQ(LoadHex(text + HexRecord(0, 1, {1})), "");
    EXPECT_EQ(LoadHex(text + HexRecord(0, 0, {1})),
              "More than 16 MiB of contiguous data at address 0x11000000");
    EXPECT_EQ(ImageText(m_Image), "");
    // Of records of one size, the one that no longer fits is named.
    const auto record = [](unsigned int address, unsigned int size) {
        return HexRecord(0, address, std::vector<unsigned char>(size, 0x42));
    };
    text.resize(text.size() - HexRecord(4, 0, {0x11, 0x00}).size() - record(0xFF80, 128).size());
    EXPECT_EQ(LoadHex(text + record(0xFF80, 100) + record(0xFFE4, 15) + record(0xFFF3, 15)),
              "More than 16 MiB of contiguous data at address 0x10FFFFF3");
}

TEST_F(CImageFilesTest, ALongRunKeepsItsBytesWhenAnotherFollows) {
    const Bytes bytes = SampleBytes(6 << 20, 7);
    EXPECT_EQ(LoadHex(IntelHexText({{0x100, bytes}, {0x80000000, {1, 2, 3}}, {0, {4}}})), "");
    ASSERT_EQ(m_Image.CountContiguousRanges(), 3U);
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), m_Image.GetRangeBytePointer(0)));
    EXPECT_EQ(m_Image.GetRangeByteSize(0), bytes.size());
    EXPECT_EQ(m_Image.GetByteValueAtThisAddress(0x80000002), 3);
    EXPECT_EQ(m_Image.GetByteValueAtThisAddress(0), 4);
}

// One HCD record: the operation, the address and the data.
std::string Hcd(char operation, unsigned int address, const std::string& data) {
    std::string record{operation, '\xFC', static_cast<char>(data.size() + 4)};
    for (int i = 0; i < 4; ++i) {
        record += static_cast<char>(address >> 8 * i);
    }
    return record + data;
}

TEST_F(CImageFilesTest, HcdRecords) {
    const std::string a = Hcd('L', 0x1000, "ab");
    const std::string b = Hcd('L', 0x1002, "cd");
    const std::string go = Hcd('N', 0x1003, "");
    const std::string info = "Wrong HCD file format trying to read the command information";
    const struct {
        const char* name;
        std::string bytes;
        bool merge;
        std::string ranges;
        std::string error;
        unsigned int launch;
        bool launchKnown;
    } cases[] = {
        {"empty file", "", true, "", "", 0, false},
        {"merged", a + b, true, "1000:61626364", "", 0, false},
        {"separate", a + b, false, "1000:6162 1002:6364", "", 0, false},
        {"backwards", b + a, true, "1002:6364 1000:6162", "", 0, false},
        {"twice", a + a, true, "1000:6162 1000:6162", "", 0, false},
        {"launch", a + b + go, false, "1000:6162 1002:6364", "", 0x1003, true},
        {"launch between", a + go + b, true, "1000:61626364", "", 0x1003, true},
        {"last launch counts", a + go + Hcd('N', 0xFFFFFFFF, "x"), true, "1000:6162", "",
         0xFFFFFFFF, false},
        {"launch only", go, true, "", "", 0x1003, false},
        // Without a launch record the launch address is 0, and known when something is there.
        {"data at 0", Hcd('L', 0, "a"), true, "0:61", "", 0, true},
        {"no data", Hcd('L', 0x1000, "") + a, false, "1000: 1000:6162", "", 0, false},
        {"no data merged", a + Hcd('L', 0x1002, "") + b, true, "1000:61626364", "", 0, false},
        {"across the wrap", Hcd('L', 0xFFFFFFFF, "a") + Hcd('L', 0, "b"), true, "FFFFFFFF:6162", "",
         0, false},
        {"header cut", a + "L\xFC", true, "1000:6162", "", 0, false},
        {"address cut", a + b.substr(0, 6), true, "1000:6162",
         "Wrong HCD file format trying to read 32-bit address", 7, false},
        {"data cut", a + b.substr(0, 8), true, "1000:6162", "Not enough HCD data bytes in record",
         7, false},
        {"launch data cut", a + Hcd('N', 0, "xy").substr(0, 8), true, "1000:6162",
         "Not enough HCD data bytes in record", 7, false},
        {"short length", a + "L\xFC\x03zzz"s, true, "1000:6162", info, 7, false},
        {"other opcode", a + "M\xFC\x04zzzz"s, true, "1000:6162", info, 7, false},
        {"other group", a + "L\xFD\x04zzzz"s, true, "1000:6162", info, 7, false},
    };
    for (const auto& c : cases) {
        const CTempFile file(c.bytes);
        unsigned int launch = 7;
        EXPECT_EQ(m_Image.LoadFromHCDFile(file.Name(), &launch, c.merge), c.error) << c.name;
        EXPECT_EQ(ImageText(m_Image), c.ranges) << c.name;
        EXPECT_EQ(launch, c.launch) << c.name;
        EXPECT_EQ(m_Image.IsLaunchAddressKnown(), c.launchKnown) << c.name;
        EXPECT_EQ(m_Image.GetLaunchAddress(), c.launchKnown ? c.launch : 0) << c.name;
        if (c.ranges.starts_with("1000:6")) {
            EXPECT_EQ(m_Image.GetFirstAddressLoaded(), 0x1000U) << c.name;
        }
    }
}

// One NCD record: the type and the payload.
std::string Ncd(char type, const std::string& payload) {
    return "\x10\xA1\xA2"s + static_cast<char>(payload.size() + 1) + type + payload;
}

TEST_F(CImageFilesTest, NcdRecords) {
    const std::string head = "vvvvvvv\x02"s + std::string(16, 'd');
    const std::string one = Ncd(1, "ab");
    const std::string end = Ncd(6, "");
    const std::string oneText = "0:10A1A203016162";
    const std::string endText = "0:10A1A20106";
    const struct {
        std::string bytes;
        std::string ranges;
        unsigned int sets;
        std::string error;  // NAME stands for the file's name
    } cases[] = {
        {head, "", 0, ""},
        {head + one + end + end, oneText + " " + endText + " " + endText, 2, ""},
        {head + one + "\x10zzz", oneText, 0, ""},
        {head + end + "\x11zzz\x01", endText, 1, "Unexpected PID value 0x11 in NCD record"},
        {head + one + end.substr(0, 3) + "\x05\x01xyz", oneText, 0,
         "Not enough NCD data bytes in record -- 4 bytes expected"},
        // A length of 0 leaves no room for the record type.
        {head + one + "\x10zz\0\x06"s, oneText, 0,
         "Not enough NCD data bytes in record -- -1 bytes expected"},
        {"vvvvvvv", "", 0, "Failed to read version information from NCD file NAME"},
        {"vvvvvvv\0"s + one, "", 0, "Patch set count is 0 in NCD file NAME"},
        {head.substr(0, 23), "", 0, "Failed to skip PATCH_DESC array in NCD file NAME"},
    };
    for (const auto& c : cases) {
        const CTempFile file(c.bytes);
        std::string error = c.error;
        if (error.ends_with("NAME")) {
            error.replace(error.size() - 4, 4, file.Name());
        }
        unsigned int sets = 7;
        EXPECT_EQ(m_Image.LoadFromNCDFile(file.Name(), &sets), error);
        EXPECT_EQ(ImageText(m_Image), c.ranges);
        EXPECT_EQ(sets, c.sets);
        for (unsigned int i = 0; i < m_Image.CountContiguousRanges(); ++i) {
            EXPECT_EQ(m_Image.GetByteBuffer(i).GetFlag(), m_Image.GetRangeByteSize(i) == 5 ? 1 : 0);
        }
        EXPECT_EQ(m_Image.GetFirstAddressLoaded(), 0U);
        EXPECT_FALSE(m_Image.IsLaunchAddressKnown());
    }
}

TEST_F(CImageFilesTest, FilesThatCannotBeRead) {
    unsigned int number = 7;
    for (const char* name : {static_cast<const char*>(nullptr), ""}) {
        EXPECT_EQ(m_Image.LoadFromHCDFile(name, &number, true), "Invalid HCD file name!");
        EXPECT_EQ(m_Image.LoadFromNCDFile(name, &number), "Invalid NCD file name!");
    }
    EXPECT_EQ(m_Image.LoadFromHCDFile("/no/f", &number, true), "Failed to open HCD file /no/f");
    EXPECT_EQ(m_Image.LoadFromNCDFile("/no/f", &number), "Failed to open NCD file /no/f");
    EXPECT_EQ(m_Image.LoadFromHCDFile("/", &number, true), "Failed to open HCD file /");
}

}  // namespace
