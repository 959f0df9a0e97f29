#include "app/Arguments.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "support/CapturedStream.h"
#include "support/CaseFile.h"
#include "support/TempDir.h"

namespace {

// A command line, held as main gets it.
class CCommandLine {
public:
    explicit CCommandLine(const std::string& text) : m_Words{"hciload"} {
        std::istringstream in(text);
        for (std::string word; in >> word;) {
            m_Words.push_back(word == "''" ? "" : word);
        }
        for (std::string& word : m_Words) {
            m_Argv.push_back(word.data());
        }
        m_Argv.push_back(nullptr);
    }

    int Count() const { return static_cast<int>(m_Words.size()); }
    char** Words() { return m_Argv.data(); }

private:
    std::vector<std::string> m_Words;
    std::vector<char*> m_Argv;
};

// What the download is told is what was asked for.
std::string ChoiceLine(const char* name, BooleanOptions option, int need) {
    EXPECT_EQ(need, option == OPTION_UNSET ? -1 : static_cast<int>(option)) << name;
    return option == OPTION_UNSET ? "" : name + std::string(option == 0 ? " 0\n" : " 1\n");
}

std::string FileLines(const CChipDownloadDescriptor& files) {
    std::string lines;
    for (unsigned int i = 0; i < files.CountMinidriverFiles(); ++i) {
        lines += "minidriver " + files.GetMinidriverFile(i) + "\n";
    }
    for (unsigned int i = 0; i < files.CountConfigDataFiles(); ++i) {
        lines += "config " + files.GetConfigDataFile(i) + "\n";
    }
    for (unsigned int i = 0; i < files.CountFirmwareFiles(); ++i) {
        lines += "firmware " + files.GetFirmwareFile(i) + "\n";
    }
    return lines;
}

std::string LineUnlessEmpty(const std::string& name, const char* value) {
    return value == nullptr || *value == '\0' ? "" : name + value + "\n";
}

// What differs from no request at all, a line for each item.
std::string Describe(const CRequest& request) {
    const CChipImageLoadingInformation info = DescribeDownload(request);
    const CChipDownloadDescriptor& descriptor = info.GetDescriptor();
    EXPECT_EQ(info.IsVintorMode(), request.m_bVintorMode);
    EXPECT_EQ(info.NeedToIssueDownloadMinidriverCommand(),
              request.m_bIssueDownloadMinidriver || !request.m_bVintorMode);
    const unsigned int chunkSize = info.GetDLMinidriverChunkSizeOverride();
    std::string lines = request.m_strTransportParameters;
    lines += request.m_bVintorMode ? "Vintor mode\n" : "";
    lines += request.m_bIssueDownloadMinidriver ? "" : "no minidriver command\n";
    lines += LineUnlessEmpty("VNP file ", info.GetVnpFileNameIfSpecified());
    lines += ChoiceLine("erase", request.m_Erase, info.GetNeedToErase());
    lines += ChoiceLine("write", request.m_Write, info.GetNeedToWrite());
    lines += ChoiceLine("verify", request.m_Verify, info.GetNeedToVerify());
    lines += ChoiceLine("CRC", request.m_CheckCRC, info.GetNeedToCheckCRC());
    lines += chunkSize == 0 ? "" : "chunk size " + std::to_string(chunkSize) + "\n";
    for (unsigned int i = 0; i < descriptor.CountRuleSets(); ++i) {
        const char* size = descriptor.GetRuleSet(i).GetDownloadParameter("DLMaxWriteSize");
        lines += std::string("rules") + (size == nullptr ? "" : " ") +
                 (size == nullptr ? "" : size) + "\n";
    }
    lines += LineUnlessEmpty("custom download ", info.GetCustomDLTypeIfSpecified());
    lines += FileLines(descriptor) + LineUnlessEmpty("log ", descriptor.GetLogFileName());
    lines += LineUnlessEmpty("capture ", request.m_strCaptureFile.c_str());
    lines += g_bRecordDownloadTimeInFile ? "record times\n" : "";
    static const std::regex TIME_OF_DAY("_[0-9]{6}_");
    return std::regex_replace(lines, TIME_OF_DAY, "_######_");
}

// The same request, from the outputs of ProcessArgsAndPrepare.
CRequest RequestFromOutputs(CCommandLine& commandLine) {
    const CCapturedStream usage(stderr);
    CRequest request;
    request.m_strTransportParameters = request.m_strVnpFileName = "old";
    request.m_bVintorMode = true;
    request.m_bIssueDownloadMinidriver = false;
    request.m_Erase = request.m_Write = request.m_Verify = OPTION_ON;
    request.m_nMinidriverChunkSize = 99;
    (void)ProcessArgsAndPrepare(
        commandLine.Count(), commandLine.Words(), &request.m_strTransportParameters,
        &request.m_Descriptor, &request.m_bVintorMode, &request.m_bIssueDownloadMinidriver,
        &request.m_strVnpFileName, &request.m_Erase, &request.m_Write, &request.m_Verify,
        &request.m_CheckCRC, &request.m_nMinidriverChunkSize);
    return request;
}

std::string Content(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

struct CArguments : testing::Test {
    CArguments() {
        m_Folder.Write("a.hex", "");
        m_Folder.Write("b.hex", "");
        m_Folder.Write("DLTIMES.TXT", "");
        m_Folder.Write("r.vnp",
                       "DevicePreset = \"A\"\nDLMaxWriteSize = 8\n"
                       "DevicePreset = \"B\"\nDLMaxWriteSize = 16\n"
                       "DevicePreset = \"NFC\"\nCustomDownload = NFC\n");
        std::filesystem::current_path(m_Folder.Path());
        std::filesystem::create_symlink("a.hex", "symbolic");
        std::filesystem::create_hard_link("a.hex", "hard");
        std::filesystem::create_symlink("missing", "dangling");
    }
    ~CArguments() override { std::filesystem::current_path("/"); }

    CTempDir m_Folder;
};

TEST_F(CArguments, AreReadAsTheCasesSay) {
    const std::string usage = Content(HCILOAD_TEST_DATA "/usage.txt");
    for (const FILE_CASE& testCase : ReadCases(HCILOAD_TEST_DATA "/arguments.txt")) {
        SCOPED_TRACE(testCase.name);
        CCommandLine commandLine(testCase.Text("$"));
        g_bRecordDownloadTimeInFile = false;
        CRequest request;
        CCapturedStream standardError(stderr);
        const std::string error = ReadRequest(commandLine.Count(), commandLine.Words(), request);
        const std::string printed = standardError.Take();
        EXPECT_EQ(error.empty() ? "" : error + "\n", testCase.Text("!"));
        if (error.empty()) {
            EXPECT_EQ(printed, commandLine.Count() == 1 ? usage : "");
            EXPECT_EQ(Describe(request), testCase.Text(">"));
            CRequest same = RequestFromOutputs(commandLine);
            same.m_strCaptureFile = request.m_strCaptureFile;
            EXPECT_EQ(Describe(same), testCase.Text(">"));
        } else {
            EXPECT_EQ(printed, "ERROR! " + error + "\n\n\n" + usage);
        }
    }
}

}  // namespace
