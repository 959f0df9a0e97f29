#include "app/Arguments.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "support/CaseFile.h"
#include "support/CommandLine.h"
#include "support/FilesText.h"
#include "support/TempDir.h"
#include "util/Crc32.h"

namespace {

// What the download is told is what was asked for.
std::string ChoiceLine(const char* name, BooleanOptions option, int need) {
    EXPECT_EQ(need, option == OPTION_UNSET ? -1 : static_cast<int>(option)) << name;
    return option == OPTION_UNSET ? "" : name + std::string(option == 0 ? " 0\n" : " 1\n");
}

std::string LineUnlessEmpty(const std::string& name, const char* value) {
    return value == nullptr || *value == '\0' ? "" : name + value + "\n";
}

// What differs from no request at all.
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
    lines += FilesText(descriptor) + LineUnlessEmpty("log ", descriptor.GetLogFileName());
    lines += LineUnlessEmpty("capture ", request.m_strCaptureFile.c_str()) +
             LineUnlessEmpty("report ", request.m_strReportFile.c_str());
    lines += g_bRecordDownloadTimeInFile ? "record times\n" : "";
    static const std::regex TIME_OF_DAY("_[0-9]{6}_");
    return std::regex_replace(OnOneLine(lines), TIME_OF_DAY, "_######_");
}

// The same request, from the outputs of ProcessArgsAndPrepare.
CRequest RequestFromOutputs(CCommandLine& commandLine, BooleanOptions checkCRC) {
    CRequest request;
    request.m_strTransportParameters = request.m_strVnpFileName = "old";
    request.m_bVintorMode = true;
    request.m_bIssueDownloadMinidriver = false;
    request.m_Erase = request.m_Write = request.m_Verify = OPTION_ON;
    request.m_nMinidriverChunkSize = 99;
    request.m_CheckCRC = checkCRC;
    (void)ProcessArgsAndPrepare(
        commandLine.Count(), commandLine.Words(), &request.m_strTransportParameters,
        &request.m_Descriptor, &request.m_bVintorMode, &request.m_bIssueDownloadMinidriver,
        &request.m_strVnpFileName, &request.m_Erase, &request.m_Write, &request.m_Verify,
        &request.m_CheckCRC, &request.m_nMinidriverChunkSize);
    return request;
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

// The arguments lead to the error or the description. The first call, without any, learns the
// usage.
void Check(const std::string& words, const std::string& expectedError, const std::string& expected,
           std::string& usage) {
    SCOPED_TRACE(words);
    CCommandLine commandLine(words);
    g_bRecordDownloadTimeInFile = false;
    CRequest request;
    testing::internal::CaptureStderr();
    const std::string error = ReadRequest(commandLine.Count(), commandLine.Words(), request);
    const std::string printed = testing::internal::GetCapturedStderr();
    usage = usage.empty() ? printed : usage;
    EXPECT_EQ(error, expectedError);
    const bool printsNothing = error.empty() && commandLine.Count() > 1;
    const std::string before = error.empty() ? "" : "ERROR! " + error + "\n\n\n";
    EXPECT_EQ(printed, printsNothing ? "" : before + usage);
    testing::internal::CaptureStderr();
    CRequest same = RequestFromOutputs(commandLine, OPTION_UNSET);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), printed);
    if (printsNothing) {
        EXPECT_EQ(Describe(request), expected);
        same.m_strCaptureFile = request.m_strCaptureFile;
        same.m_strReportFile = request.m_strReportFile;
        EXPECT_EQ(Describe(same), expected);
        EXPECT_EQ(RequestFromOutputs(commandLine, OPTION_ON).m_CheckCRC, OPTION_ON);
    }
}

TEST_F(CArguments, AreReadAsTheCasesSay) {
    std::string usage;
    Check("", "", "", usage);
    // Scripts show this text and search it: when it changes, that is meant.
    EXPECT_EQ(crc(reinterpret_cast<const unsigned char*>(usage.data()), 4137), 4239662940U);
    EXPECT_EQ(usage.size(), 4137U);
    for (const FILE_CASE& testCase : ReadCases(HCILOAD_TEST_DATA "/arguments.txt")) {
        SCOPED_TRACE(testCase.name);
        for (const auto& [mark, text] : testCase.lines) {
            if (mark == '$') {
                Check(text, "", OnOneLine(testCase.Text(">")), usage);
            } else if (mark == 'e') {
                Check(Split(text, " => ")[0], Split(text, " => ").at(1), "", usage);
            }
        }
    }
}

}  // namespace
