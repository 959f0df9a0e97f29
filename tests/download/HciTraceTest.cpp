#include "download/HciTrace.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <numeric>

#include "support/HexBytes.h"

namespace {

// 00 01 02 ...
Bytes CountingBytes(unsigned int count) {
    Bytes bytes(count);
    std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(0));
    return bytes;
}

std::string HexFromTo(unsigned int first, unsigned int last) {
    const Bytes all = CountingBytes(last + 1);
    return ToHex(Bytes(all.begin() + first, all.end()));
}

// What DebugOut writes into the trace stream.
std::string Traced(const char* label, const unsigned char* bytes, unsigned int count) {
    char* text = nullptr;
    std::size_t size = 0;
    FILE* const stream = open_memstream(&text, &size);
    fDebugPrint = stream;
    DebugOut(label, bytes, count);
    fDebugPrint = nullptr;
    std::fclose(stream);
    std::string result(text, size);
    std::free(text);
    return result;
}

TEST(HciTrace, ShowsBytesOnOneLineCutInTheMiddle) {
    const Bytes bytes = CountingBytes(70);
    const struct {
        const char* m_szLabel;
        unsigned int m_nCount;
        unsigned int m_nMaxShown;
        std::string m_strExpected;
    } cases[] = {
        {"Sending to HW ", 3, 64, "Sending to HW  (3 bytes): 00 01 02"},
        {"x", 0, 64, "x (0 bytes):"},
        {"x", 64, 64, "x (64 bytes): " + HexFromTo(0, 63)},
        {"x", 65, 64, "x (65 bytes): " + HexFromTo(0, 31) + " ...  " + HexFromTo(33, 64)},
        // An odd limit halves down.
        {"x", 6, 5, "x (6 bytes): 00 01 ...  04 05"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ShowBytesString(c.m_szLabel, bytes.data(), c.m_nCount, c.m_nMaxShown),
                  c.m_strExpected);
    }
}

TEST(HciTrace, AHexByteTakesThreeCharactersAndNoTerminator) {
    char text[] = "#######";
    char* cursor = text;
    AppendSpaceAndHexByte(&cursor, 0xA0);
    AppendSpaceAndHexByte(&cursor, 0x0F);
    EXPECT_STREQ(text, " A0 0F#");
    EXPECT_EQ(cursor, text + 6);
}

TEST(HciTrace, AnEntryIsATimeALabelAndAtMost32Bytes) {
    const Bytes bytes = CountingBytes(33);
    const std::string stamp = R"([0-9]{2}:[0-9]{2}:[0-9]{2}\.[0-9]{3} )";
    const struct {
        const char* m_szLabel;
        const unsigned char* m_pBytes;
        unsigned int m_nCount;
        std::string m_strExpected;
    } cases[] = {
        {"label", bytes.data(), 2, "label\n2 bytes:  00 01\n"},
        {"label", bytes.data(), 32, "label\n32 bytes:  " + HexFromTo(0, 31) + "\n"},
        {"label", bytes.data(), 33, "label\n33 bytes:  " + HexFromTo(0, 31) + " \\.\\.\\.\n"},
        {"label", bytes.data(), 0, "label\n"},
        {"label", nullptr, 4, "label\n"},
        {nullptr, nullptr, 0, "\n"},
    };
    for (const auto& c : cases) {
        EXPECT_THAT(Traced(c.m_szLabel, c.m_pBytes, c.m_nCount),
                    testing::MatchesRegex(stamp + c.m_strExpected));
    }
}

TEST(HciTrace, WithoutAStreamNothingHappens) {
    ASSERT_EQ(fDebugPrint.load(), nullptr);
    DebugOut("label", nullptr, 0);
}

}  // namespace
