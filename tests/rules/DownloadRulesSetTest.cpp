#include "rules/DownloadRulesSet.h"

#include <gtest/gtest.h>

#include "support/TempDir.h"

namespace {

using namespace std::string_literals;

std::string Load(CDownloadRulesSet& rules, const std::string& path) {
    return rules.LoadFromDownloadParametersFile(path.c_str());
}

std::string Values(const CDownloadRulesSet& rules) {
    std::string values;
    for (const char* const name : {" Mode ", "HALF", "quote"}) {
        const char* const value = rules.GetDownloadParameter(name);
        values += (value == nullptr ? "-"s : value) + ",";
    }
    return values;
}

TEST(DownloadRulesSet, TellsOtherFilesFromVnpFiles) {
    const CTempDir folder;
    CDownloadRulesSet rules("");
    for (const std::string mark : {" DevicePreset", "\nDevicePreset", "devicepreset",
                                   "\xEF\xBB\xBF"
                                   "DevicePreset"}) {
        EXPECT_EQ(Load(rules, folder.Write("other", mark + "=\"x\"\nmode=1\n")), "NA") << mark;
    }
    for (const std::string& path : {folder.PathOf("missing"), folder.Path(), ""s}) {
        EXPECT_EQ(Load(rules, path), "NA") << path;
    }
    EXPECT_EQ(rules.LoadFromDownloadParametersFile(nullptr), "NA");
    EXPECT_EQ(Values(rules), "-,-,-,");
    EXPECT_EQ(Load(rules, folder.Write("bare", "DevicePreset")), "");
}

TEST(DownloadRulesSet, KeepsTheFirstValueUnlessOverridden) {
    const CTempDir folder;
    CDownloadRulesSet rules("");
    for (const char* const none : {"", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(rules.SetDownloadParameter(none, none, true), "NULL or empty parameter name");
        EXPECT_EQ(rules.SetDownloadParameter("a", none, true), "NULL or empty parameter value");
    }
    EXPECT_EQ(rules.SetDownloadParameter("mode", "1", false), "");
    EXPECT_EQ(rules.SetDownloadParameter(" Mode", "2", false), "Parameter  Mode already exists");
    EXPECT_EQ(Load(rules, folder.Write("a", "DevicePreset\nMODE=3\nhalf=3\n")), "");
    EXPECT_EQ(Values(rules), "1,3,-,");
    EXPECT_EQ(rules.SetDownloadParameter("MODE", rules.GetDownloadParameter("half"), true), "");
    EXPECT_EQ(rules.SetDownloadParameter("mode", rules.GetDownloadParameter("mode"), true), "");
    EXPECT_EQ(Values(rules), "3,3,-,");

    CNameValueTable table;
    table.AddValue("half", "4");
    table.AddValue("mode", "");
    table.AddValue("quote", "4");
    EXPECT_EQ(rules.OverrideParameters(table), "NULL or empty parameter value");
    EXPECT_EQ(Values(rules), "3,4,-,");
}

}  // namespace
