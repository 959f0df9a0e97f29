#include "rules/DownloadRulesSet.h"

#include <gtest/gtest.h>

#include "support/TempDir.h"

namespace {

using namespace std::string_literals;

constexpr const char TWO_SETS[] =
    "DevicePreset = \"Flash board\"\r\n"
    "  dlmaxwritesize = 200 \r\n"
    "DLMaxWriteSize=100\r\n"
    "a comment line\n"
    "#DLConfig = \"1\"\n"
    "Path = \"C:\\dir = x\"\n"
    "Half = \"open\n"
    "Quote = \"\n"
    "Empty = \"\"\n"
    "Blank =   \n"
    "None=\n"
    " = nameless\n"
    "DevicePreset \"RAM board\" mode=RAM\n"
    "Mode = ram\n"
    " DevicePreset = \"indented\"\n"
    "DevicePreset = \"Last\"\n"
    "Mode = last";

class DownloadRulesSet : public ::testing::Test {
protected:
    std::string Load(const std::string& path) {
        return m_Rules.LoadFromDownloadParametersFile(path.c_str());
    }
    std::string Get(const char* name) const {
        const char* const value = m_Rules.GetDownloadParameter(name);
        return value == nullptr ? "(none)" : value;
    }

    CTempDir m_Dir;
    CDownloadRulesSet m_Rules{""};
};

TEST_F(DownloadRulesSet, LoadsTheFirstSetWithoutAPreset) {
    EXPECT_EQ(Load(m_Dir.Write("two.vnp", TWO_SETS)), "");
    const struct {
        const char* name;
        const char* value;
    } expected[] = {
        {" DLMaxWriteSize ", "200"}, {"#dlconfig", "1"}, {"Path", "C:\\dir = x"},
        {"Half", "\"open"},          {"Quote", "\""},    {"Empty", "(none)"},
        {"Blank", "(none)"},         {"None", "(none)"}, {" ", "(none)"},
        {"Mode", "(none)"},
    };
    for (const auto& e : expected) {
        EXPECT_EQ(Get(e.name), e.value) << e.name;
    }
}

TEST_F(DownloadRulesSet, SelectsThePresetBehindTheAt) {
    const std::string path = m_Dir.Write("two.vnp", TWO_SETS);
    const std::string notFound =
        "In the VNP file " + path + " could not find a specified set of download parameters";
    const struct {
        const char* preset;
        std::string error;
        const char* mode;
        const char* maxWriteSize;
    } cases[] = {
        {"@Flash board", "", "(none)", "200"},
        {"@\"RAM board\"", "", "ram", "(none)"},
        {"@RAM board", "", "ram", "(none)"},
        {"@Last", "", "last", "(none)"},
        {"@", "", "(none)", "200"},
        {"@\"\"", "", "(none)", "200"},
        {"@ram board", notFound + " \"ram board\"", "(none)", "(none)"},
        {"@RAM", notFound + " \"RAM\"", "(none)", "(none)"},
        {"@indented", notFound + " \"indented\"", "(none)", "(none)"},
        {"@a@b", notFound + " \"a@b\"", "(none)", "(none)"},
    };
    for (const auto& c : cases) {
        CDownloadRulesSet rules("");
        EXPECT_EQ(rules.LoadFromDownloadParametersFile((path + c.preset).c_str()), c.error);
        m_Rules = rules;
        EXPECT_EQ(Get("Mode"), c.mode) << c.preset;
        EXPECT_EQ(Get("DLMaxWriteSize"), c.maxWriteSize) << c.preset;
    }
}

TEST_F(DownloadRulesSet, TellsWhatIsNoVnpFile) {
    for (const char* const content : {"", " DevicePreset = \"x\"\na=1\n", "devicepreset\na=1\n",
                                      "DevicePrese", "\nDevicePreset\na=1\n"}) {
        EXPECT_EQ(Load(m_Dir.Write("other.txt", content)), "NA") << content;
    }
    EXPECT_EQ(Load(m_Dir.Write("nul.vnp", "\0DevicePreset\na=1\n"s)), "NA");
    EXPECT_EQ(Load(m_Dir.PathOf("missing.vnp")), "NA");
    EXPECT_EQ(Load(m_Dir.Path()), "NA");
    EXPECT_EQ(Load(""), "NA");
    EXPECT_EQ(m_Rules.LoadFromDownloadParametersFile(nullptr), "NA");
    EXPECT_EQ(Get("a"), "(none)");
    EXPECT_EQ(Load(m_Dir.Write("bare.vnp", "DevicePreset")), "");
}

TEST_F(DownloadRulesSet, ReadsLongLinesInPieces) {
    // 249 characters of the first line, 1,019 of every later one; the rest is a line of its own.
    const std::string firstLine = "DevicePreset" + std::string(237, '=') + "first=1\n";
    const std::string value(1017, 'v');
    const std::string later = "a=" + value + "b=2\n" + "c=" + value + "DevicePreset\nd=4\n";
    EXPECT_EQ(Load(m_Dir.Write("long.vnp", firstLine + later)), "");
    EXPECT_EQ(Get("first"), "1");
    EXPECT_EQ(Get("a"), value);
    EXPECT_EQ(Get("b"), "2");
    EXPECT_EQ(Get("c"), value);
    EXPECT_EQ(Get("d"), "(none)");
}

TEST_F(DownloadRulesSet, EndsALineAtANulByte) {
    EXPECT_EQ(Load(m_Dir.Write("nul.vnp", "DevicePreset\na=1\0 2\n\0b=2\nc\0=3\nd=4\n"s)), "");
    EXPECT_EQ(Get("a"), "1");
    EXPECT_EQ(Get("b"), "(none)");
    EXPECT_EQ(Get("c"), "(none)");
    EXPECT_EQ(Get("d"), "4");
}

TEST_F(DownloadRulesSet, ASecondFileAddsAndOverridesNothing) {
    EXPECT_EQ(Load(m_Dir.Write("one.vnp", "DevicePreset\na=1\n")), "");
    EXPECT_EQ(Load(m_Dir.Write("two.vnp", "DevicePreset\nA=2\nb=3\n")), "");
    EXPECT_EQ(Get("a"), "1");
    EXPECT_EQ(Get("b"), "3");
}

TEST_F(DownloadRulesSet, SetsAndOverrides) {
    EXPECT_EQ(m_Rules.SetDownloadParameter(nullptr, "1", true), "NULL or empty parameter name");
    EXPECT_EQ(m_Rules.SetDownloadParameter("", nullptr, true), "NULL or empty parameter name");
    EXPECT_EQ(m_Rules.SetDownloadParameter("a", nullptr, true), "NULL or empty parameter value");
    EXPECT_EQ(m_Rules.SetDownloadParameter("a", "", true), "NULL or empty parameter value");
    EXPECT_EQ(m_Rules.SetDownloadParameter("a", "1", false), "");
    EXPECT_EQ(m_Rules.SetDownloadParameter(" A", "2", false), "Parameter  A already exists");
    EXPECT_EQ(Get("a"), "1");
    EXPECT_EQ(m_Rules.SetDownloadParameter("A", "2", true), "");
    EXPECT_EQ(Get("a"), "2");
    EXPECT_EQ(m_Rules.SetDownloadParameter("a", m_Rules.GetDownloadParameter("a"), true), "");
    EXPECT_EQ(Get("a"), "2");

    CNameValueTable table;
    table.AddValue("a", "3");
    table.AddValue("b", "");
    table.AddValue("c", "4");
    EXPECT_EQ(m_Rules.OverrideParameters(table), "NULL or empty parameter value");
    EXPECT_EQ(Get("a"), "3");
    EXPECT_EQ(Get("c"), "(none)");
}

}  // namespace
