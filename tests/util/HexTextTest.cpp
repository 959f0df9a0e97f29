#include "util/HexText.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

constexpr unsigned int MAX_BYTES = 4;

TEST(HexText, ParsesBytesBetweenWhiteSpace) {
    const struct {
        const char* text;
        bool ok;
        Bytes bytes;
    } cases[] = {
        {"12 0x34 ab", true, {0x12, 0x34, 0xAB}},
        {"0x1F x1F 1F 001F", true, {0x1F, 0x1F, 0x1F, 0x1F}},
        {" \t\r\n7 \v\f X8 ", true, {7, 8}},
        {"00000000ff", true, {0xFF}},
        {"0x", true, {0}},
        {"1 2 3 4 5", false, {1, 2, 3, 4}},
        {"100", false, {}},
        {"12 0x100", false, {0x12}},
        {"1x2", false, {}},
        {"00x1", false, {}},
        {"xx1", false, {}},
        {"x", false, {}},
        {"12,13", false, {}},
        {"0g", false, {}},
        {"-1", false, {}},
        {"\xE9", false, {}},
        {"", false, {}},
        {" \t ", false, {}},
        {nullptr, false, {}},
    };
    for (const auto& c : cases) {
        Bytes out(MAX_BYTES, 0xEE);
        unsigned int count = 99;
        EXPECT_EQ(ParseHexBytesFromString(c.text, out.data(), MAX_BYTES, &count), c.ok)
            << (c.text ? c.text : "(null)");
        ASSERT_EQ(count, c.bytes.size()) << (c.text ? c.text : "(null)");
        out.resize(count);
        EXPECT_EQ(out, c.bytes) << c.text;
    }
}

TEST(HexText, CountsWithoutAnOutput) {
    unsigned int count = 0;
    EXPECT_TRUE(ParseHexBytesFromString("1 2 3 4 5 6", nullptr, 0, &count));
    EXPECT_EQ(count, 6U);
    EXPECT_FALSE(ParseHexBytesFromString("1 2 333", nullptr, 0, &count));
}

TEST(HexText, ParsesAnUnbrokenRun) {
    const struct {
        const char* text;
        bool ok;
        Bytes bytes;
    } cases[] = {
        {"A1B", true, {0xA1}},
        {"0123aBCd", true, {0x01, 0x23, 0xAB, 0xCD}},
        {"0011223344", false, {0x00, 0x11, 0x22, 0x33}},
        {"001122334", true, {0x00, 0x11, 0x22, 0x33}},
        {"A", false, {}},
        {"A1 B2", false, {0xA1}},
        {"A1Bx", false, {0xA1}},
        {"", false, {}},
        {nullptr, false, {}},
    };
    for (const auto& c : cases) {
        Bytes out(MAX_BYTES, 0xEE);
        unsigned int count = 99;
        EXPECT_EQ(ParseHexBytesWithoutDelimiters(c.text, out.data(), MAX_BYTES, &count, '?'), c.ok)
            << (c.text ? c.text : "(null)");
        ASSERT_EQ(count, c.bytes.size()) << (c.text ? c.text : "(null)");
        out.resize(count);
        EXPECT_EQ(out, c.bytes) << c.text;
    }
}

TEST(HexText, WildcardDigitsAreRandomAndTheOthersStay) {
    std::set<unsigned char> seen;
    for (int i = 0; i < 500; ++i) {
        unsigned char out = 0;
        unsigned int count = 0;
        ASSERT_TRUE(ParseHexBytesWithoutDelimiters("5*", &out, 1, &count, '*'));
        ASSERT_EQ(out & 0xF0, 0x50);
        seen.insert(out);
    }
    EXPECT_GT(seen.size(), 8U);
}

TEST(HexText, PrintsBytesWithSeparators) {
    const unsigned char bytes[] = {0x01, 0xAB, 0xF0};
    std::string out = "old";
    EXPECT_EQ(BytesToHexString(nullptr, 3, out, ' ', true), 0U);
    EXPECT_EQ(BytesToHexString(bytes, 0, out, ' ', true), 0U);
    EXPECT_EQ(out, "old");
    EXPECT_EQ(BytesToHexString(bytes, 3, out, ',', true), 14U);
    EXPECT_EQ(out, "0x01,0xAB,0xF0");
    EXPECT_EQ(BytesToHexString(bytes, 3, out, ' ', false), 8U);
    EXPECT_EQ(out, "01 AB F0");
}

TEST(HexText, AppendsBytesAndCutsLongLists) {
    const unsigned char bytes[] = {0x10, 0x32, 0x54, 0x76, 0x98, 0xBA, 0xDC, 0xFE, 0x01, 0x02};
    const struct {
        int n, maxShown;
        const char* expected;
    } cases[] = {
        {10, 4, "Rx: 10 32 54 76 ..."},
        {4, 4, "Rx: 10 32 54 76"},
        {2, 0, "Rx: 10 32"},
        {2, -1, "Rx: 10 32"},
        {0, 4, "Rx:"},
        {-1, 4, "Rx:"},
    };
    for (const auto& c : cases) {
        char text[64] = "Rx:";
        EXPECT_STREQ(ConcatHexBytesToString(text, bytes, c.n, c.maxShown), c.expected);
        std::string grown = "Rx:";
        ConcatHexBytesToString(grown, bytes, c.n, c.maxShown);
        EXPECT_EQ(grown, c.expected);
    }
}

TEST(HexText, PadsWithBlanks) {
    char out[258];
    EXPECT_STREQ(UIntToHex(0x1F, out, 4, true), "0x  1F");
    EXPECT_STREQ(UIntToHex(0xDEADBEEF, out, 4, true), "0xDEADBEEF");
    EXPECT_STREQ(UIntToHex(0, out, 0, false), "0");
    EXPECT_EQ(std::strlen(UIntToHex(7, out, 255, true)), 257U);
    EXPECT_EQ(UIntToHex(7, nullptr, 4, true), nullptr);
    EXPECT_EQ(HexDigit(0x3A), 'A');
}

}  // namespace
