#include "util/VariableValue.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace {

const CDateTimeHolder g_NewYear("2024-12-31@23:58:59.123");

std::string TextOf(const CVariableValue& value, unsigned int limit = 200) {
    std::string buffer = "left alone";
    std::string text = value.GetValueAsString(buffer, limit);
    EXPECT_EQ(buffer, value.GetType() == VALUE_UNDEFINED ? "left alone" : text);
    return text;
}

std::string Packed(const CVariableValue& value) {
    std::string buffer;
    return value.PackIntoString(buffer);
}

TEST(VariableValue, HoldsEveryType) {
    const struct {
        CVariableValue value;
        int type;
        std::int64_t integer;
        double real;
        const char* text;
    } cases[] = {
        {CVariableValue(), VALUE_UNDEFINED, 0, 0, "NULMRK"},
        {CVariableValue(static_cast<const char*>(nullptr)), VALUE_UNDEFINED, 0, 0, "NULMRK"},
        {CVariableValue(std::uint8_t{255}), VALUE_UINT8, 255, 0, "255\n"},
        {CVariableValue(std::int8_t{-1}), VALUE_INT8, -1, 0, "-1\n"},
        {CVariableValue(std::uint16_t{65535}), VALUE_UINT16, 65535, 0, "65535\n"},
        {CVariableValue(std::int16_t{-32768}), VALUE_INT16, -32768, 0, "-32768\n"},
        {CVariableValue(4294967295U), VALUE_UINT32, 4294967295, 0, "4294967295\n"},
        {CVariableValue(5), VALUE_INT32, 5, 0, "5\n"},
        {CVariableValue(std::uint64_t{1} << 40U), VALUE_UINT64, std::int64_t{1} << 40U, 0,
         "1099511627776\n"},
        {CVariableValue(~0ULL), VALUE_UINT64, -1, 0, "-1\n"},
        {CVariableValue(std::int64_t{-7}), VALUE_INT64, -7, 0, "-7\n"},
        {CVariableValue(1.5F), VALUE_FLOAT, 0, 1.5, "        1.5000000000"},
        {CVariableValue(-0.1), VALUE_DOUBLE, 0, -0.1, "       -0.1000000000"},
        {CVariableValue(true), VALUE_BOOLEAN, 0, 0, "TRUE"},
        {CVariableValue(false), VALUE_BOOLEAN, 0, 0, "FALSE"},
        {CVariableValue("two words"), VALUE_STRING, 0, 0, "two words"},
        {CVariableValue(g_NewYear), VALUE_DATE_TIME, 0, 0, "2024-12-31@23:58:59.123"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.value.GetType(), c.type) << c.text;
        EXPECT_EQ(c.value.GetInt64Value(), c.integer) << c.text;
        EXPECT_EQ(c.value.GetUInt64Value(), static_cast<std::uint64_t>(c.integer)) << c.text;
        EXPECT_EQ(c.value.GetInt32Value(), static_cast<std::int32_t>(c.integer)) << c.text;
        EXPECT_EQ(c.value.GetUInt32Value(), static_cast<std::uint32_t>(c.integer)) << c.text;
        EXPECT_EQ(c.value.GetRealNumberValue(), c.real) << c.text;
        EXPECT_EQ(TextOf(c.value), c.text);
        EXPECT_EQ(c.value.IsInteger(), c.type >= 1 && c.type <= 8) << c.text;
        EXPECT_EQ(c.value.IsRealNumber(), c.type == 9 || c.type == 10) << c.text;
        EXPECT_EQ(c.value.IsBoolean(), c.type == 11) << c.text;
        EXPECT_EQ(c.value.GetBooleanValue(), std::string("TRUE") == c.text);
    }
    EXPECT_EQ(TextOf(CVariableValue("two words"), 3), "two");
    EXPECT_EQ(TextOf(CVariableValue(std::numeric_limits<double>::max())).size(), 320U);
}

TEST(VariableValue, AssignmentTakesTheTypeAndKeepsTheName) {
    CVariableValue value("text");
    EXPECT_TRUE(value.AssignName("size[0].max_A"));
    value = 7U;
    EXPECT_EQ(value.GetType(), VALUE_UINT32);
    value = "seven";
    EXPECT_EQ(TextOf(value), "seven");
    value = g_NewYear;
    EXPECT_TRUE(value.IsDateTime());
    EXPECT_STREQ(value.GetName(), "size[0].max_A");
    value = CVariableValue(1.0);
    EXPECT_EQ(value.GetName(), nullptr);
    value.ClearValue();
    EXPECT_EQ(value.GetType(), VALUE_UNDEFINED);
}

TEST(VariableValue, RefusesNamesAndDropsTheEarlierOne) {
    for (const char* const name : {"a b", "a-b", "a=b", "NULMRK", "\xE4", ""}) {
        CVariableValue value;
        EXPECT_TRUE(value.AssignName("earlier"));
        EXPECT_EQ(value.AssignName(name), *name == '\0') << name;
        EXPECT_STREQ(value.GetName(), *name == '\0' ? "" : nullptr) << name;
    }
    EXPECT_FALSE(CVariableValue::IsValidName(nullptr));
    EXPECT_TRUE(CVariableValue::IsValidName("nulmrk"));
}

TEST(VariableValue, DescribesItself) {
    std::string buffer;
    CVariableValue value;
    EXPECT_STREQ(value.Description(nullptr, buffer), " name NULL UNDEFINED");
    value = std::string(300, 'x').c_str();
    value.AssignName("n");
    EXPECT_EQ(value.Description("Title", buffer),
              "Title:  name n  type 12   " + std::string(200, 'x'));
}

TEST(VariableValue, PacksIntoText) {
    CVariableValue value("text with = and blanks ");
    EXPECT_EQ(Packed(value), "12 NULMRK TEXTDATABEGIN---....text with = and blanks ");
    value.AssignName("n");
    value = 5;
    EXPECT_EQ(Packed(value), "6 n 5\n");
    value.ClearValue();
    EXPECT_EQ(Packed(value), "0 n NULMRK");
    value.AssignName("");
    EXPECT_EQ(Packed(value), "0  NULMRK");
    value = std::string(300, 'x').c_str();
    EXPECT_EQ(Packed(value).size(), 24U + 127U);
}

TEST(VariableValue, ReadsBackWhatItPacked) {
    const CVariableValue values[] = {CVariableValue(std::uint8_t{200}),
                                     CVariableValue(std::int8_t{-100}),
                                     CVariableValue(~0ULL),
                                     CVariableValue(std::numeric_limits<std::int64_t>::min()),
                                     CVariableValue(0.25F),
                                     CVariableValue(-1234.5),
                                     CVariableValue(" two  words "),
                                     CVariableValue(""),
                                     CVariableValue(g_NewYear)};
    for (CVariableValue value : values) {
        value.AssignName("some.name");
        CVariableValue read("old");
        EXPECT_TRUE(read.UnpackFromString(Packed(value).c_str()));
        EXPECT_TRUE(read == value) << Packed(value);
        EXPECT_EQ(TextOf(read), TextOf(value));
        EXPECT_STREQ(read.GetName(), "some.name");
    }
}

TEST(VariableValue, UnpacksOddTexts) {
    const struct {
        const char* text;
        bool ok;
        const char* packedAgain;
    } cases[] = {
        {"14 n 5", false, "12 old TEXTDATABEGIN---....kept"},
        {"-1 n 5", false, "12 old TEXTDATABEGIN---....kept"},
        {"99999999999999999999 n 5", false, "12 old TEXTDATABEGIN---....kept"},
        {"n 5", false, "12 old TEXTDATABEGIN---....kept"},
        {"", false, "12 old TEXTDATABEGIN---....kept"},
        {nullptr, false, "12 old TEXTDATABEGIN---....kept"},
        {"  1\tn\n300 more", true, "1 n 44\n"},
        {"6n 5", true, "6 n 5\n"},
        {"6 bad-name 5", true, "6 NULMRK 5\n"},
        {"6 n five", true, "6 n 0\n"},
        {"6", true, "6 NULMRK 0\n"},
        {"11 n TRUE", true, "11 n FALSE"},
        {"11 n 2", true, "11 n TRUE"},
        {"13 n 23:58:59.123", true, "13 n 00:00:00.000"},
        {"12 n unmarked", true, "12 n TEXTDATABEGIN---....NULMRK"},
        {"12 n TEXTDATABEGIN---....a TEXTDATABEGIN---....b", true,
         "12 n TEXTDATABEGIN---....a TEXTDATABEGIN---....b"},
        {"0 n 5", true, "0 n NULMRK"},
    };
    for (const auto& c : cases) {
        CVariableValue value("kept");
        value.AssignName("old");
        EXPECT_EQ(value.UnpackFromString(c.text), c.ok) << (c.text ? c.text : "(null)");
        EXPECT_EQ(Packed(value), c.packedAgain) << (c.text ? c.text : "(null)");
    }
}

TEST(VariableValue, ScansOnlyItsOwnType) {
    const struct {
        CVariableValue value;
        const char* text;
        bool ok;
        const char* expected;
    } cases[] = {
        {CVariableValue(std::int8_t{1}), " +200 x", true, "-56\n"},
        {CVariableValue(1), "-", false, "1\n"},
        {CVariableValue(1), "+-5", false, "1\n"},
        {CVariableValue(1), "9223372036854775808", false, "1\n"},
        {CVariableValue(1), "4294967298", true, "2\n"},
        {CVariableValue(1), nullptr, false, "1\n"},
        {CVariableValue(1.0), "x", false, "        1.0000000000"},
        {CVariableValue(1.0F), "2.5e1x", true, "       25.0000000000"},
        {CVariableValue(true), "FALSE", false, "TRUE"},
        {CVariableValue(true), "0", true, "FALSE"},
        {CVariableValue("a"), "", true, ""},
        {CVariableValue(g_NewYear), "01:02:03.004", false, "2024-12-31@23:58:59.123"},
        {CVariableValue(g_NewYear), "2020-1-2@3:4:5.6", true, "2020-01-02@03:04:05.006"},
        {CVariableValue(), "5", false, "NULMRK"},
    };
    for (const auto& c : cases) {
        CVariableValue value = c.value;
        EXPECT_EQ(value.ScanValueFromString(c.text), c.ok) << (c.text ? c.text : "(null)");
        EXPECT_EQ(TextOf(value), c.expected);
    }
}

TEST(VariableValue, ComparesTypeAndValueOnly) {
    CVariableValue named(5);
    named.AssignName("n");
    CVariableValue missing;
    missing.UnpackFromString("12 n unmarked");
    const std::vector<std::pair<CVariableValue, CVariableValue>> equal = {
        {named, CVariableValue(5)},
        {CVariableValue("a"), CVariableValue("a")},
        {CVariableValue(g_NewYear), CVariableValue(CDateTimeHolder("2024-12-31@23:58:59.999"))}};
    const std::vector<std::pair<CVariableValue, CVariableValue>> different = {
        {CVariableValue(5), CVariableValue(5U)},
        {CVariableValue(5), CVariableValue(6)},
        {CVariableValue(0.0), CVariableValue(-0.0)},
        {CVariableValue("a"), CVariableValue("A")},
        {CVariableValue(g_NewYear), CVariableValue(CDateTimeHolder("2024-12-31@23:58:58.123"))},
        {CVariableValue(), CVariableValue()},
        {missing, missing}};
    for (const auto& [left, right] : equal) {
        EXPECT_TRUE(left == right) << TextOf(left);
    }
    for (const auto& [left, right] : different) {
        EXPECT_FALSE(left == right) << TextOf(left);
    }
}

}  // namespace
