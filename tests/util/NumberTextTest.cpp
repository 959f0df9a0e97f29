#include "util/NumberText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

TEST(NumberText, ReadsEveryNotationModulo32Bits) {
    const struct {
        const char* text;
        unsigned int value;
    } cases[] = {
        {"0", 0},
        {"007", 7},
        {"4294967295", 0xFFFFFFFF},
        {"4294967296", 0},
        {"98765432109876543210", 0xE5267EEA},
        {"-5", 0xFFFFFFFB},
        {"-1", 0xFFFFFFFF},
        {"-4294967297", 0xFFFFFFFF},
        {"-0", 0},
        {"0XfF", 255},
        {"0x1deadBEEF", 0xDEADBEEF},
        {"0x123456789ABCDEF012345678", 0x12345678},
        {"0b101", 5},
        {"0B0", 0},
        {"0b111111111111111111111111111111111", 0xFFFFFFFF},
        {"0b100000000000000000000000000000000", 0},
    };
    for (const auto& c : cases) {
        unsigned int unsignedValue = 77;
        int signedValue = 77;
        EXPECT_TRUE(TryToGetUIntValue(c.text, &unsignedValue)) << c.text;
        EXPECT_TRUE(TryToGetIntValue(c.text, &signedValue)) << c.text;
        EXPECT_EQ(unsignedValue, c.value) << c.text;
        EXPECT_EQ(signedValue, static_cast<int>(c.value)) << c.text;
        EXPECT_EQ(GetUIntValue(c.text), c.value) << c.text;
        EXPECT_EQ(GetIntValue(c.text), static_cast<int>(c.value)) << c.text;
    }
}

TEST(NumberText, RefusesWhatIsNoNumberAndKeepsTheTarget) {
    const char* const texts[] = {nullptr, "",    "-",    "+5",  " 5",   "5 ",   "5\n",  "--5",
                                 "0x",    "0b",  "0b2",  "0xG", "-0x5", "-0b1", "1x2",  "x1F",
                                 "0x 1",  "5.0", "0b1 ", "1e3", "FF",   "00x1", "0b-1", "\xB2"};
    for (const char* const text : texts) {
        unsigned int unsignedValue = 77;
        int signedValue = -77;
        EXPECT_FALSE(TryToGetUIntValue(text, &unsignedValue)) << (text ? text : "(null)");
        EXPECT_FALSE(TryToGetIntValue(text, &signedValue)) << (text ? text : "(null)");
        EXPECT_EQ(unsignedValue, 77U);
        EXPECT_EQ(signedValue, -77);
        EXPECT_EQ(GetUIntValue(text), 0U);
        EXPECT_EQ(GetIntValue(text), 0);
    }
}

TEST(NumberText, KeepsTheNotationsApart) {
    const struct {
        const char* text;
        bool decimal, hex, binary;
        unsigned int binaryValue;
    } cases[] = {
        {"10", true, false, false, 0},
        {"-10", true, false, false, 0},
        {"0x10", false, true, false, 0},
        {"0b10", false, false, true, 2},
        {"0xb1", false, true, false, 0},
        {"0B11111111111111111111111111111111", false, false, true, 0xFFFFFFFF},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(IsDecInt(c.text), c.decimal) << c.text;
        EXPECT_EQ(IsHexInt(c.text), c.hex) << c.text;
        EXPECT_EQ(IsBinaryInt(c.text), c.binary) << c.text;
        EXPECT_EQ(ScanBinaryUInt(c.text), c.binaryValue) << c.text;
        EXPECT_EQ(ScanBinaryInt(c.text), static_cast<int>(c.binaryValue)) << c.text;
    }
}

TEST(NumberText, ReadsRealNumbersAtTheStart) {
    const struct {
        const char* text;
        bool found;
        double value;
    } cases[] = {{"1.5", true, 1.5},       {"-2e3", true, -2000}, {"26 MHz", true, 26},
                 {".25", true, 0.25},      {"+1", true, 1},       {"", false, 0},
                 {nullptr, false, 0},      {"MHz", false, 0},     {".", false, 0},
                 {"1e999", true, HUGE_VAL}};
    for (const auto& c : cases) {
        double value = -1;
        EXPECT_EQ(TryToGetRealValue(c.text, &value), c.found) << (c.text ? c.text : "(null)");
        EXPECT_EQ(value, c.found ? c.value : -1) << (c.text ? c.text : "(null)");
        EXPECT_EQ(IsRealNumber(c.text), c.found);
        EXPECT_EQ(GetRealValue(c.text), c.value);
    }
}

}  // namespace
