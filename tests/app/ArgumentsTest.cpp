#include "app/Arguments.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "rules/ChipDownloadDescriptor.h"
#include "support/CapturedStream.h"
#include "support/TempDir.h"

namespace {

using testing::ElementsAre;
using testing::MatchesRegex;

using Words = std::vector<std::string>;

// What one command line comes to.
struct CParsed {
    std::string m_strError;
    std::string m_strPrinted;  // on standard error
    std::string m_strTransportParameters = "old";
    CChipDownloadDescriptor m_Descriptor;
    bool m_bVintorMode = true;
    bool m_bIssueDownloadMinidriver = false;
    std::string m_strVnpFileName = "old";
    BooleanOptions m_Erase = OPTION_ON;
    BooleanOptions m_Write = OPTION_ON;
    BooleanOptions m_Verify = OPTION_ON;
    BooleanOptions m_CheckCRC = OPTION_UNSET;
    unsigned int m_nMinidriverChunkSize = 99;
};

CParsed Parse(Words words) {
    words.insert(words.begin(), "hciload");
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    g_bRecordDownloadTimeInFile = false;
    CParsed parsed;
    CCapturedStream standardError(stderr);
    parsed.m_strError = ProcessArgsAndPrepare(
        static_cast<int>(words.size()), argv.data(), &parsed.m_strTransportParameters,
        &parsed.m_Descriptor, &parsed.m_bVintorMode, &parsed.m_bIssueDownloadMinidriver,
        &parsed.m_strVnpFileName, &parsed.m_Erase, &parsed.m_Write, &parsed.m_Verify,
        &parsed.m_CheckCRC, &parsed.m_nMinidriverChunkSize);
    parsed.m_strPrinted = standardError.Take();
    return parsed;
}

std::string UsageText() {
    std::ifstream file(HCILOAD_TEST_DATA "/usage.txt", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

Words Files(const CChipDownloadDescriptor& descriptor) {
    Words files;
    for (unsigned int i = 0; i < descriptor.CountMinidriverFiles(); ++i) {
        files.push_back("minidriver " + descriptor.GetMinidriverFile(i));
    }
    for (unsigned int i = 0; i < descriptor.CountConfigDataFiles(); ++i) {
        files.push_back("config " + descriptor.GetConfigDataFile(i));
    }
    for (unsigned int i = 0; i < descriptor.CountFirmwareFiles(); ++i) {
        files.push_back("firmware " + descriptor.GetFirmwareFile(i));
    }
    return files;
}

TEST(Arguments, NoneAtAllPrintsTheUsageAndIsNoError) {
    const CParsed parsed = Parse({});
    EXPECT_EQ(parsed.m_strError, "");
    EXPECT_EQ(parsed.m_strPrinted, UsageText());
    EXPECT_EQ(parsed.m_strTransportParameters, "");
    EXPECT_FALSE(parsed.m_bVintorMode);
    EXPECT_TRUE(parsed.m_bIssueDownloadMinidriver);
    EXPECT_EQ(parsed.m_strVnpFileName, "");
    EXPECT_THAT((std::vector{parsed.m_Erase, parsed.m_Write, parsed.m_Verify, parsed.m_CheckCRC}),
                testing::Each(OPTION_UNSET));
    EXPECT_EQ(parsed.m_nMinidriverChunkSize, 0U);
}

TEST(Arguments, EachErrorIsPrintedInFrontOfTheUsage) {
    const CTempDir folder;
    const std::string rules = folder.Write("a.vnp", "DevicePreset = \"A\"\nDLMaxWriteSize = 8\n");
    const std::string file = folder.Write("a.hex", "");
    const struct {
        Words m_Words;
        std::string m_strError;
    } cases[] = {
        {{"COM3"}, "Unexpected argument COM3"},
        {{"-ERASE", ""}, "Unexpected argument "},
        {{"-"}, "Unrecognized command-line argument "},
        {{"-bogus"}, "Unrecognized command-line argument BOGUS"},
        {{"/Bogus", "value"}, "Unrecognized command-line argument BOGUS"},
        {{"--port", "x"}, "Unrecognized command-line argument -PORT"},
        {{"-NOCHECKCRC"}, "Unrecognized command-line argument NOCHECKCRC"},
        {{"-ERASE", "-VINTORMODE"}, "Unrecognized command-line argument VINTORMODE"},
        {{"-VINTORMODE", "-vintormode"}, "Unrecognized command-line argument VINTORMODE"},
        {{"-VINTORMODE", "-RULES", rules}, "RULES files not allowed with VINTORMODE option!"},
        {{"-VINTORMODE", "-RULES"}, "RULES files not allowed with VINTORMODE option!"},
        {{"-VNP", rules}, "Unrecognized command-line argument VNP"},
        {{"-RULES", "/nowhere.vnp"}, "NA"},
        {{"-VINTORMODE", "-VNP", file}, "NA"},
        {{"-RULES", rules + "@B"},
         "In the VNP file " + rules +
             " could not find a specified set of download parameters \"B\""},
        {{"-PORT", "a", "-port", "b"}, "Unrecognized command-line argument PORT"},
        {{"-BAUDRATE", "9600", "-baudrate", "1"}, "Unrecognized command-line argument BAUDRATE"},
        {{"-DLMINIDRIVERCHUNKSIZE", "252"},
         "Invalid UINT value for DLMINIDRIVERCHUNKSIZE argument 252"},
        {{"-DLMINIDRIVERCHUNKSIZE", "abc"},
         "Invalid UINT value for DLMINIDRIVERCHUNKSIZE argument abc"},
        {{"-DLMINIDRIVERCHUNKSIZE", "-1"},
         "Invalid UINT value for DLMINIDRIVERCHUNKSIZE argument -1"},
        {{"-DLMINIDRIVERCHUNKSIZE", "5", "-DLMINIDRIVERCHUNKSIZE", "6"},
         "Unrecognized command-line argument DLMINIDRIVERCHUNKSIZE"},
        {{"-MINIDRIVER"}, "Minidriver file not found -- "},
        {{"-MINIDRIVER", "/nowhere"}, "Minidriver file not found -- /nowhere"},
        {{"-FIRMWARE", "/nowhere"}, "Firmware file not found -- /nowhere"},
        {{"-CONFIG", "/nowhere"}, "Config file not found -- /nowhere"},
        // Whatever stands behind an option is its value.
        {{"-FIRMWARE", "-PORT", "x"}, "Firmware file not found -- -PORT"},
        // The first error ends it.
        {{"-CONFIG", "/one", "-CONFIG", "/two", "three"}, "Config file not found -- /one"},
    };
    for (const auto& c : cases) {
        const CParsed parsed = Parse(c.m_Words);
        EXPECT_EQ(parsed.m_strError, c.m_strError);
        EXPECT_EQ(parsed.m_strPrinted, "ERROR! " + c.m_strError + "\n\n\n" + UsageText());
    }
}

TEST(Arguments, SwitchesTurnThingsOnAndOff) {
    constexpr BooleanOptions ON = OPTION_ON;
    constexpr BooleanOptions OFF = OPTION_OFF;
    constexpr BooleanOptions UNSET = OPTION_UNSET;
    const struct {
        Words m_Words;
        std::vector<BooleanOptions> m_Expected;  // erase, write, verify, CRC
    } cases[] = {
        {{"-ERASE"}, {ON, UNSET, UNSET, UNSET}},
        {{"-noErase", "/nowrite", "-NOVERIFY"}, {OFF, OFF, OFF, UNSET}},
        {{"-write", "-verify", "-checkcrc"}, {UNSET, ON, ON, ON}},
        {{"-NOWRITE", "-WRITE", "-VERIFY", "-NOVERIFY"}, {UNSET, ON, OFF, UNSET}},
    };
    for (const auto& c : cases) {
        const CParsed parsed = Parse(c.m_Words);
        EXPECT_EQ(parsed.m_strError, "");
        EXPECT_EQ(parsed.m_strPrinted, "");
        EXPECT_EQ((std::vector{parsed.m_Erase, parsed.m_Write, parsed.m_Verify, parsed.m_CheckCRC}),
                  c.m_Expected);
        EXPECT_FALSE(g_bRecordDownloadTimeInFile);
    }
    const CParsed parsed = Parse({"/vintorMode", "-NODLMINIDRIVER", "-recorddltime"});
    EXPECT_EQ(parsed.m_strError, "");
    EXPECT_TRUE(parsed.m_bVintorMode);
    EXPECT_FALSE(parsed.m_bIssueDownloadMinidriver);
    EXPECT_TRUE(g_bRecordDownloadTimeInFile);
}

TEST(Arguments, TransportParametersStandInTheOrderOfTheOptions) {
    const struct {
        Words m_Words;
        const char* m_szExpected;
    } cases[] = {
        {{"-PORT", "/dev/ttyS0", "-BAUDRATE", "115200"}, " PORT=/dev/ttyS0\n BAUDRATE=115200\n"},
        {{"-baudrate", "9600", "-port", "COM3"}, " BAUDRATE=9600\n PORT=COM3\n"},
        {{"-PORT", "COM3", "-BAUDRATE", "3000000nfc"},
         " PORT=COM3\n RTS=1\n  CTS=0\n  NOFLOWCONTROL=1\n BAUDRATE=3000000\n"},
        {{"-BAUDRATE", "1nFc2NFC"}, " RTS=1\n  CTS=0\n  NOFLOWCONTROL=1\n BAUDRATE=1\n"},
        {{"-BAUDRATE", "fast"}, " BAUDRATE=FAST\n"},
        // An empty value leaves the option open to be given again.
        {{"-PORT", "", "-PORT", "x"}, " PORT=\n PORT=x\n"},
        {{"-PORT"}, " PORT=\n"},
        {{"-BAUDRATE", "NFC", "-BAUDRATE", "9600"},
         " RTS=1\n  CTS=0\n  NOFLOWCONTROL=1\n BAUDRATE=\n BAUDRATE=9600\n"},
    };
    for (const auto& c : cases) {
        const CParsed parsed = Parse(c.m_Words);
        EXPECT_EQ(parsed.m_strError, "");
        EXPECT_EQ(parsed.m_strTransportParameters, c.m_szExpected);
    }
}

TEST(Arguments, ChunkSizesUpTo251AreTaken) {
    const struct {
        Words m_Words;
        unsigned int m_nExpected;
    } cases[] = {
        {{"-DLMINIDRIVERCHUNKSIZE", "251"}, 251},
        {{"-dlminidriverchunksize", "0x10"}, 16},
        {{"-DLMINIDRIVERCHUNKSIZE", "0"}, 0},
        {{"-DLMINIDRIVERCHUNKSIZE", "0", "-DLMINIDRIVERCHUNKSIZE", "7"}, 7},
    };
    for (const auto& c : cases) {
        const CParsed parsed = Parse(c.m_Words);
        EXPECT_EQ(parsed.m_strError, "");
        EXPECT_EQ(parsed.m_nMinidriverChunkSize, c.m_nExpected);
    }
}

TEST(Arguments, FilesAreListedInTheirOrder) {
    const CTempDir folder;
    const std::string a = folder.Write("A.hex", "");
    const std::string b = folder.Write("b.hex", "");
    const CParsed parsed = Parse({"-FIRMWARE", b, "-CONFIG", a, "-firmware", a, "-MINIDRIVER", a,
                                  "-minidriver", b, "-FIRMWARE", b});
    EXPECT_EQ(parsed.m_strError, "");
    EXPECT_THAT(Files(parsed.m_Descriptor),
                ElementsAre("minidriver " + a, "minidriver " + b, "config " + a, "firmware " + b,
                            "firmware " + a, "firmware " + b));
}

TEST(Arguments, EveryRuleFileIsKept) {
    const CTempDir folder;
    const std::string path = folder.Write("a.vnp",
                                          "DevicePreset = \"A\"\nDLMaxWriteSize = 8\n"
                                          "DevicePreset = \"B\"\nDLMaxWriteSize = 16\n");
    const CParsed rules = Parse({"-RULES", path, "-rules", path + "@B"});
    EXPECT_EQ(rules.m_strError, "");
    ASSERT_EQ(rules.m_Descriptor.CountRuleSets(), 2U);
    EXPECT_STREQ(rules.m_Descriptor.GetRuleSet(0).GetDownloadParameter("DLMaxWriteSize"), "8");
    EXPECT_STREQ(rules.m_Descriptor.GetRuleSet(1).GetDownloadParameter("DLMaxWriteSize"), "16");
    EXPECT_EQ(rules.m_strVnpFileName, "");

    const CParsed vnp = Parse({"-VINTORMODE", "-VNP", path, "-VNP", path + "@\"B\""});
    EXPECT_EQ(vnp.m_strError, "");
    EXPECT_EQ(vnp.m_Descriptor.CountRuleSets(), 2U);
    EXPECT_EQ(vnp.m_strVnpFileName, path + "@\"B\"");
}

TEST(Arguments, AnOutputIsNoOtherFile) {
    const CTempDir folder;
    const std::filesystem::path home = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    for (const char* name : {"a.hex", "other.hex", "DLTIMES.TXT"}) {
        folder.Write(name, "");
    }
    folder.Write("a.vnp", "DevicePreset = \"A\"\nDLMaxWriteSize = 8\n");
    std::filesystem::create_symlink("a.hex", "symbolic");
    std::filesystem::create_hard_link("a.hex", "hard");
    std::filesystem::create_symlink("missing", "dangling");
    const struct {
        Words m_Words;
        // The output, the other file and what that is; null when there is no error.
        const char* m_szFiles;
    } cases[] = {
        {{"-LOGTO", "a.hex", "-FIRMWARE", "a.hex"}, "a.hex a.hex input"},
        {{"-FIRMWARE", "other.hex", "-CONFIG", "symbolic", "-LOGTO", "a.hex"},
         "a.hex symbolic input"},
        {{"-LOGTO", "./hard", "-MINIDRIVER", "a.hex"}, "./hard a.hex input"},
        {{"-RULES", "a.vnp@A", "-LOGTO", "a.vnp"}, "a.vnp a.vnp input"},
        {{"-VINTORMODE", "-LOGTO", "a.vnp", "-VNP", "a.vnp@\"A\""}, "a.vnp a.vnp input"},
        {{"-RECORDDLTIME", "-CONFIG", "DLTIMES.TXT"}, "./DLTIMES.TXT DLTIMES.TXT input"},
        {{"-captureto", "symbolic", "-FIRMWARE", "a.hex"}, "symbolic a.hex input"},
        {{"-CAPTURETO", "new", "-LOGTO", "./new"}, "new ./new output"},
        {{"-CAPTURETO", "new", "-LOGTO", "other.hex"}, nullptr},
        // Without the option nothing is written there, and only the last log is.
        {{"-CONFIG", "DLTIMES.TXT"}, nullptr},
        {{"-LOGTO", "a.hex", "-LOGTO", "dangling", "-FIRMWARE", "a.hex"}, nullptr},
        {{"-LOGTO", "other.hex", "-FIRMWARE", "a.hex", "-CONFIG", "a.hex"}, nullptr},
        {{"-LOGTO", "/dev/null", "-FIRMWARE", "/dev/null"}, nullptr},
    };
    for (const auto& c : cases) {
        const std::string error = Parse(c.m_Words).m_strError;
        if (c.m_szFiles == nullptr) {
            EXPECT_EQ(error, "");
            continue;
        }
        std::istringstream words(c.m_szFiles);
        std::string output;
        std::string other;
        std::string kind;
        words >> output >> other >> kind;
        EXPECT_EQ(error,
                  "Output file " + output + " is the same file as " + kind + " file " + other);
    }
    std::filesystem::current_path(home);
}

TEST(Arguments, ABtsnoopFileTakesNoCustomDownload) {
    const CTempDir folder;
    const std::string path =
        folder.Write("nfc.vnp", "DevicePreset = \"A\"\nCustomDownload = NFC\n");
    const std::string error =
        "A btsnoop file cannot hold the packets of a custom download -- c.btsnoop";
    EXPECT_EQ(Parse({"-RULES", path, "-CAPTURETO", "c.btsnoop"}).m_strError, error);
    EXPECT_EQ(Parse({"-RULES", path, "-CAPTURETO", "c.pcapng"}).m_strError, "");
    EXPECT_EQ(Parse({"-VINTORMODE", "-VNP", path, "-CAPTURETO", "c.btsnoop"}).m_strError, "");
}

TEST(Arguments, TheFirstTimestampInTheLogNameBecomesTheTime) {
    // The clock knows no date, so that part is always the same.
    constexpr char STAMP[] = "   0-00-00_[0-9]{6}";
    const struct {
        Words m_Words;
        std::string m_strExpected;
    } cases[] = {
        {{"-LOGTO", "log.txt"}, "log\\.txt"},
        {{"-LOGTO", "a_TIMESTAMP.txt"}, std::string("a_") + STAMP + "\\.txt"},
        {{"-LOGTO", "TIMESTAMPTIMESTAMP"}, std::string(STAMP) + "TIMESTAMP"},
        {{"-LOGTO", "Timestamp"}, "Timestamp"},
        {{"-LOGTO", "first", "-LOGTO", "second"}, "second"},
        {{"-LOGTO"}, ""},
    };
    for (const auto& c : cases) {
        const CParsed parsed = Parse(c.m_Words);
        EXPECT_EQ(parsed.m_strError, "");
        EXPECT_THAT(parsed.m_Descriptor.GetLogFileName(), MatchesRegex(c.m_strExpected));
    }
}

}  // namespace
