#include "rules/DownloadRulesSet.h"

#include <gtest/gtest.h>

#include "support/TempDir.h"

namespace {

using namespace std::string_literals;

constexpr const char THREE_SETS[] =
    "DevicePreset = \"Flash board\"\r\n"
    "  dlmaxwritesize = 200 \r\n"
    "DLMaxWriteSize=100\r\n"
    "a comment line\n"
    "#Mode = \"C:\\dir = x\"\n"
    "Half = \"open\n"
    "Quote = \"\n"
    "Empty = \"\"\n"
    " = nameless\n"
    "DevicePreset \"RAM board\" mode=RAM\n"
    "Mode = ram\n"
    " DevicePreset = \"indented\"\n"
    "DevicePreset = \"Last\"\n"
    "Mode = last";

std::string Load(CDownloadRulesSet& rules, const std::string& path) {
    return rules.LoadFromDownloadParametersFile(path.c_str());
}

std::string Values(const CDownloadRulesSet& rules) {
    std::string values;
    for (const char* name : {" DLMaxWriteSize ", "MODE", "#mode", "Half", "Quote", "Empty"}) {
        const char* const value = rules.GetDownloadParameter(name);
        values += (value == nullptr ? "-"s : value) + ",";
    }
    return values;
}

TEST(DownloadRulesSet, TakesTheSetThatThePathNames) {
    const CTempDir folder;
    const std::string path = folder.Write("three.vnp", THREE_SETS);
    const struct {
        const char *preset, *notFound, *values;
    } cases[] = {
        {"", "", "200,-,C:\\dir = x,\"open,\",-,"},
        {"@RAM board", "", "-,ram,-,-,-,-,"},
        {"@Last", "", "-,last,-,-,-,-,"},
        {"@ram board", "\"ram board\"", "-,-,-,-,-,-,"},
        {"@indented", "\"indented\"", "-,-,-,-,-,-,"},
    };
    const std::string notFound =
        "In the VNP file " + path + " could not find a specified set of download parameters ";
    for (const auto& c : cases) {
        CDownloadRulesSet rules("");
        EXPECT_EQ(Load(rules, path + c.preset), *c.notFound == 0 ? "" : notFound + c.notFound);
        EXPECT_EQ(Values(rules), c.values) << c.preset;
    }
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
    EXPECT_EQ(Values(rules), "-,-,-,-,-,-,");
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
    EXPECT_EQ(Values(rules), "-,1,-,3,-,-,");
    EXPECT_EQ(rules.SetDownloadParameter("MODE", rules.GetDownloadParameter("half"), true), "");
    EXPECT_EQ(rules.SetDownloadParameter("mode", rules.GetDownloadParameter("mode"), true), "");
    EXPECT_EQ(Values(rules), "-,3,-,3,-,-,");

    CNameValueTable table;
    table.AddValue("half", "4");
    table.AddValue("mode", "");
    table.AddValue("quote", "4");
    EXPECT_EQ(rules.OverrideParameters(table), "NULL or empty parameter value");
    EXPECT_EQ(Values(rules), "-,3,-,4,-,-,");
}

}  // namespace
