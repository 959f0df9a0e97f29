#include <gtest/gtest.h>

#include <limits>

#include "support/TempDir.h"
#include "util/NameValueTable.h"
#include "util/VariableValue.h"

namespace {

using namespace std::string_literals;

TEST(NameValueTable, AddsFindsAndRemovesWhateverTheCase) {
    CNameValueTable table;
    EXPECT_EQ(table.AddValue(" Device Preset\t", " Kept As Is "), "");
    EXPECT_EQ(table.AddValue("empty"s, ""s), "");
    EXPECT_EQ(table.AddValue("device preset ", "x"), "Duplicate name: device preset ");
    EXPECT_EQ(table.AddValue(nullptr, "x"), "NULL name supplied!");
    EXPECT_EQ(table.AddValue("x", nullptr), "NULL value supplied!");
    EXPECT_STREQ(table.FindValueFromName("  device PRESET "), " Kept As Is ");
    EXPECT_EQ(table.FindValueFromName(nullptr), nullptr);
    std::vector<std::string> names = {"stale"};
    std::vector<std::string> values = {"stale"};
    EXPECT_EQ(table.GetAllNamesAndValues(names, values), 2U);
    EXPECT_EQ(names, (std::vector<std::string>{"DEVICE PRESET", "EMPTY"}));
    EXPECT_EQ(values, (std::vector<std::string>{" Kept As Is ", ""}));
    EXPECT_EQ(table.RemoveValue(nullptr), "NULL name supplied!");
    EXPECT_EQ(table.RemoveValue(""), "Empty name supplied!");
    EXPECT_EQ(table.RemoveValue(" EMPTY"), "");
    EXPECT_EQ(table.RemoveValue("empty"), "Name not found");
    EXPECT_EQ(table.Count(), 1U);
}

TEST(NameValueTable, LoadsAValueOfItsOwnAndAFileUpToItsFirstNul) {
    CNameValueTable table;
    table.AddValue("lines", "inner = b=1 c=2 and a text that is too long to stay in place\n");
    EXPECT_EQ(table.LoadFromString(nullptr), "NULL string!");
    EXPECT_EQ(table.LoadFromString(""), "Empty string!");
    EXPECT_EQ(table.ParseValuesFromSingleLine(nullptr), "NULL string!");
    EXPECT_EQ(table.LoadFromFile(nullptr), "Missing file name");
    EXPECT_EQ(table.LoadFromFile("/"), "File not found");
    EXPECT_EQ(table.LoadFromString(table.FindValueFromName("lines")), "");
    EXPECT_EQ(table.ParseValuesFromSingleLine(table.FindValueFromName("inner")), "");
    EXPECT_EQ(table.StoreTableToString(), "B=1\nC=2\n");
    const CTempDir dir;
    const std::string longLine = "A=" + std::string(20000, 'v') + "\n";
    EXPECT_EQ(table.LoadFromFile(dir.Write("nul", longLine + "b\0=2\n"s).c_str()), "");
    EXPECT_EQ(table.StoreTableToString(), longLine);
}

std::string Packed(const CVariableValue& value) {
    std::string buffer;
    return value.PackIntoString(buffer);
}

TEST(VariableValue, EachTypeHasItsCodeAndEqualsOnlyItself) {
    const CDateTimeHolder time(dth{2024, 12, 31, 23, 58, 59, 123});
    const struct {
        CVariableValue value;
        const char* packed;
        std::int64_t integer = 0;
        double real = 0;
    } cases[] = {
        {CVariableValue(nullptr), "0 NULMRK NULMRK"},
        {CVariableValue(std::uint8_t{255}), "1 NULMRK 255\n", 255},
        {CVariableValue(std::int8_t{-1}), "2 NULMRK -1\n", -1},
        {CVariableValue(std::uint16_t{65535}), "3 NULMRK 65535\n", 65535},
        {CVariableValue(std::int16_t{-32768}), "4 NULMRK -32768\n", -32768},
        {CVariableValue(4294967295U), "5 NULMRK 4294967295\n", 4294967295},
        {CVariableValue(-5), "6 NULMRK -5\n", -5},
        {CVariableValue(~0ULL), "7 NULMRK -1\n", -1},
        {CVariableValue(-7L), "8 NULMRK -7\n", -7},
        {CVariableValue(1.5F), "9 NULMRK         1.5000000000", 0, 1.5},
        {CVariableValue(0.0), "10 NULMRK         0.0000000000"},
        {CVariableValue(-0.0), "10 NULMRK        -0.0000000000"},
        {CVariableValue(true), "11 NULMRK TRUE"},
        {CVariableValue("two words "), "12 NULMRK TEXTDATABEGIN---....two words "},
        {CVariableValue(time), "13 NULMRK 2024-12-31@23:58:59.123"},
        {CVariableValue(CDateTimeHolder(dth{0, 2, 9, 7, 5, 3, 45})), "13 NULMRK 07:05:03.045"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Packed(c.value), c.packed);
        EXPECT_EQ(c.value.GetInt64Value(), c.integer) << c.packed;
        EXPECT_EQ(c.value.GetRealNumberValue(), c.real) << c.packed;
        EXPECT_EQ(c.value.GetBooleanValue(), c.value.GetType() == VALUE_BOOLEAN);
        for (const auto& other : cases) {
            EXPECT_EQ(c.value == other.value, &c == &other && c.value.GetType() != VALUE_UNDEFINED);
        }
    }
}

TEST(VariableValue, AssignmentTakesTheTypeAndKeepsTheName) {
    CVariableValue value("text");
    EXPECT_TRUE(value.AssignName("n"));
    value = 7U;
    EXPECT_EQ(Packed(value), "5 n 7\n");
    value = std::string(300, 'x').c_str();
    EXPECT_EQ(Packed(value), "12 n TEXTDATABEGIN---...." + std::string(127, 'x'));
    std::string buffer;
    EXPECT_EQ(value.Description("T", buffer), "T:  name n  type 12   " + std::string(200, 'x'));
    EXPECT_FALSE(value.ScanValueFromString(nullptr) || value.UnpackFromString(nullptr));
    EXPECT_TRUE(value.UnpackFromString("12 n unmarked"));
    EXPECT_FALSE(value == value) << "a missing string";
    EXPECT_TRUE(value.UnpackFromString("11 n 2"));
    EXPECT_TRUE(value == CVariableValue(true));
    value = CDateTimeHolder("2024-12-31@23:58:59.123");
    EXPECT_TRUE(value == CVariableValue(CDateTimeHolder("2024-12-31@23:58:59.999")));
    EXPECT_FALSE(value.AssignName(nullptr));
    value.ClearValue();
    EXPECT_STREQ(value.Description(nullptr, buffer), " name NULL UNDEFINED");
    value = CVariableValue(std::numeric_limits<double>::max());
    EXPECT_EQ(Packed(value).size(), 10U + 320U);
}

}  // namespace
