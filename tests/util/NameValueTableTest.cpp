#include "util/NameValueTable.h"

#include <gtest/gtest.h>

#include "support/TempDir.h"

namespace {

using namespace std::string_literals;

struct LOAD_CASE {
    const char* text;
    const char* error;
    const char* stored;
};

void ExpectLoads(std::initializer_list<LOAD_CASE> cases) {
    for (const LOAD_CASE& c : cases) {
        CNameValueTable table;
        EXPECT_EQ(table.LoadFromString(c.text), c.error) << c.text;
        EXPECT_EQ(table.StoreTableToString(), c.stored) << c.text;
    }
}

TEST(NameValueTable, LoadsLines) {
    ExpectLoads({
        {"b=2\na=1\nB c=3\n", "", "A=1\nB=2\nB C=3\n"},
        {"a = 1\nA=2\nb=3\n", "Duplicate name: A", "A=1\n"},
        {"a=1\nlost=2", "", "A=1\n"},
        {"a=1\n# x=2\n \t! y=2\nz=3\n", "", "A=1\nZ=3\n"},
        {"a=1\n#x=2", "", "A=1\n"},
        {"\n\nnothing here\n  key = some value with = signs\r\n", "",
         "KEY=some value with = signs\n"},
        {"a=\nb=   \n", "", "A=\nB= \n"},
        {"a=\r\n", "", "A=\r\n"},
        {"a=1\n =2\nb=3\n", "Empty name supplied!", "A=1\n"},
        {"name = \"My # Dev\" \n", "", "NAME=\"My # Dev\"\n"},
        {"no settings\n", "", ""},
    });
}

TEST(NameValueTable, ParsesOneLineOfPairs) {
    ExpectLoads({
        {"port=COM5 baud = 115200 name=\"My Dev\"", "", "BAUD=115200\nNAME=MY DEV\nPORT=COM5\n"},
        {"a=b\"c", "Double-quote in the middle of a value in a=b\"c", ""},
        {"x=1 a=b\" y=2", "Double-quote in the middle of a value in  a=b\" y=2", "X=1\n"},
        {"a=1 =2", "NAME COULD NOT BE DETERMINED IN  =2", "A=1\n"},
        {"=", "NAME COULD NOT BE DETERMINED IN =", ""},
        {"a=\"\" b=2 c=", "", "B=2\n"},
        {"a=\"open end ", "", "A=OPEN END\n"},
        {"a=\"  \"", "", "A= \n"},
        {"some words a=1 more words b=2 end", "", "A=1\nB=2\n"},
        {"a=b=c", "", "A=B=C\n"},
        {"a=\"x\"b=y", "", "A=X\nB=Y\n"},
        {"a=1 A=2", "Duplicate name: A", "A=1\n"},
        {"no pairs", "", ""},
    });
}

TEST(NameValueTable, MissingTextsLeaveTheTableAndOthersReplaceIt) {
    CNameValueTable table;
    table.AddValue("old", "1");
    EXPECT_EQ(table.LoadFromString(nullptr), "NULL string!");
    EXPECT_EQ(table.LoadFromString(""), "Empty string!");
    EXPECT_EQ(table.ParseValuesFromSingleLine(nullptr), "NULL string!");
    EXPECT_EQ(table.Count(), 1U);
    EXPECT_EQ(table.ParseValuesFromSingleLine(""), "");
    EXPECT_EQ(table.Count(), 0U);
}

TEST(NameValueTable, AddsFindsAndRemoves) {
    CNameValueTable table;
    EXPECT_EQ(table.AddValue(" Device Preset\t", " Kept As Is "), "");
    EXPECT_EQ(table.AddValue("empty", ""), "");
    EXPECT_EQ(table.AddValue("device preset ", "x"), "Duplicate name: device preset ");
    EXPECT_EQ(table.AddValue(nullptr, nullptr), "NULL name supplied!");
    EXPECT_EQ(table.AddValue("x", nullptr), "NULL value supplied!");
    EXPECT_EQ(table.AddValue("", "x"), "Empty name supplied!");
    EXPECT_STREQ(table.FindValueFromName("  device PRESET "), " Kept As Is ");
    EXPECT_STREQ(table.FindValueFromName("Empty"), "");
    for (const char* name : {"", "other", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(table.FindValueFromName(name), nullptr);
    }
    EXPECT_EQ(table.RemoveValue(nullptr), "NULL name supplied!");
    EXPECT_EQ(table.RemoveValue(""), "Empty name supplied!");
    EXPECT_EQ(table.RemoveValue("other"), "Name not found");
    CNameValueTable copy = table;
    EXPECT_EQ(copy.RemoveValue(" EMPTY"), "");
    EXPECT_EQ(copy.Count(), 1U);

    std::vector<std::string> names = {"stale"};
    std::vector<std::string> values;
    EXPECT_EQ(table.GetAllNamesAndValues(names, values), 2U);
    EXPECT_EQ(names, (std::vector<std::string>{"DEVICE PRESET", "EMPTY"}));
    EXPECT_EQ(values, (std::vector<std::string>{" Kept As Is ", ""}));
}

TEST(NameValueTable, LoadsFromAValueOfItsOwn) {
    CNameValueTable table;
    table.AddValue("lines", "inner = b=1 c=2 and a text that is too long to stay in place\n");
    EXPECT_EQ(table.LoadFromString(table.FindValueFromName("lines")), "");
    EXPECT_EQ(table.ParseValuesFromSingleLine(table.FindValueFromName("inner")), "");
    EXPECT_EQ(table.StoreTableToString(), "B=1\nC=2\n");
}

TEST(NameValueTable, LoadsFiles) {
    const CTempDir dir;
    CNameValueTable table;
    EXPECT_EQ(table.LoadFromFile(nullptr), "Missing file name");
    EXPECT_EQ(table.LoadFromFile(""), "Missing file name");
    EXPECT_EQ(table.LoadFromFile(dir.PathOf("none").c_str()), "File not found");
    EXPECT_EQ(table.LoadFromFile(dir.Path().c_str()), "File not found");
    EXPECT_EQ(table.LoadFromFile(dir.Write("empty", "").c_str()), "Empty string!");
    EXPECT_EQ(table.LoadFromFile(dir.Write("nul", "a=1\nb\0=2\n"s).c_str()), "");
    EXPECT_EQ(table.StoreTableToString(), "A=1\n");

    const std::string longValue(20000, 'v');
    EXPECT_EQ(table.LoadFromFile(dir.Write("long", "a=" + longValue + "\r\nb=2\n").c_str()), "");
    EXPECT_EQ(table.FindValueFromName("a"), longValue);
    EXPECT_STREQ(table.FindValueFromName("b"), "2");
}

}  // namespace
