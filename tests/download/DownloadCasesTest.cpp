#include <gtest/gtest.h>

#include "download/VintorDownload.h"
#include "support/CaseFile.h"
#include "support/DownloadSetup.h"
#include "support/FakeClock.h"
#include "support/SampleImages.h"
#include "util/FormatText.h"

// Runs the downloads of the case files, where the marks are explained, on a clock that stands
// still.

namespace {

using Info = CChipImageLoadingInformation;

void SetOption(Info& info, const std::string& option) {
    const std::map<std::string, void (Info::*)(bool)> switches = {
        {"erase", &Info::SetNeedToErase},
        {"write", &Info::SetNeedToWrite},
        {"verify", &Info::SetNeedToVerify},
        {"crc", &Info::SetNeedToCheckCRC},
        {"command", &Info::SetFlagIssueDownloadMinidriverCommand}};
    const std::vector<std::string> words = Split(option, " ");
    if (words[0] == "chunk") {
        info.SetDLMinidriverChunkSizeOverride(static_cast<unsigned int>(std::stoul(words.at(1))));
    } else {
        (info.*switches.at(words[0]))(words.at(1) == "1");
    }
}

void ReadLine(char mark, const std::string& text, CDownloadRequest& request) {
    if (mark == 'r') {
        for (const std::string& rule : Split(text, "; ")) {
            const std::vector<std::string> parts = Split(rule, " = ");
            request.m_Rules[parts.at(0)] = parts.at(1);
        }
    } else if (mark == 't') {
        for (const char* name :
             {"TimeOutAfterPatch", "MaxWaitForPatchRec", "MaxWaitForSignature",
              "TimeoutBeforeSignature", "ChunkedTxTimeout", "ChunkedRxTimeout"}) {
            request.m_Rules[std::string("CustomXA") + name + "MS"] = text;
        }
    } else if (mark == 'm') {
        request.m_strMinidriver = TextFromHex(text);
    } else if (mark == 'w') {
        request.m_strFirmware = IntelHexText({{0x200000, Bytes(std::stoul(text), 0x5A)}});
    } else if (mark == 'p') {
        const std::vector<std::string> parts = Split(text, ":");
        request.m_bVintorMode = false;
        request.m_strFirmware.clear();
        request.m_strConfig.clear();
        if (parts.size() > 1) {
            request.m_strConfig = "version\x01PATCHSET" + TextFromHex(parts[1]);
        }
    }
}

CDownloadRequest MakeRequest(const FILE_CASE& fileCase) {
    CDownloadRequest request;
    request.m_strFirmware = IntelHexText({{0x200000, {1, 2, 3, 4, 5}}});
    request.m_strConfig = HcdFile({{0x400, {6, 7, 8}}}, 0x12345678);
    request.m_pfnOverride = [](Info& info) { info.SetFlagIssueDownloadMinidriverCommand(false); };
    for (const auto& [mark, text] : fileCase.lines) {
        ReadLine(mark, text, request);
    }
    return request;
}

void SetUp(const FILE_CASE& fileCase, CDownloadSetup& setup) {
    CFakeChip& chip = setup.Chip();
    // Holds the image from the start, so that a run that only verifies succeeds.
    chip.Memory().Write(0x200000, Bytes{1, 2, 3, 4, 5});
    chip.Memory().Write(0x400, Bytes{6, 7, 8});
    for (const auto& [mark, text] : fileCase.lines) {
        if (mark == 'o') {
            for (const std::string& option : Split(text, "; ")) {
                SetOption(*setup.Downloader().DownloadInfo(), option);
            }
        } else if (mark == 'p') {
            setup.Downloader().DownloadInfo()->SetCustomDownloadType(Split(text, ":")[0]);
        } else if (mark == 'f') {
            const std::vector<std::string> parts = Split(text, "! ");
            const std::vector<std::string> frame = Split(parts[0], ":");
            chip.m_Faults.push_back(
                {frame.at(0), Split(frame.at(1), "/"), parts.size() > 1 ? parts[1] : ""});
        } else if (mark == 'c') {
            chip.m_pfnFrameSent = [&setup, &chip, last = std::stoul(text)] {
                if (chip.m_Sent.size() == last) {
                    EXPECT_EQ(setup.Downloader().CancelDownload(0), "");
                }
            };
        }
    }
}

std::string Run(CDownloadSetup& setup) {
    const CFakeClock clock;
    CChipDownloader& downloader = setup.Downloader();
    if (downloader.PrepareForDownload().empty()) {
        CCustomDownloadAssistant* assistant = downloader.DownloadInfo()->GetCustomDownloader();
        EXPECT_EQ(assistant == nullptr ? VintorDownloadingFunction(&downloader)
                                       : assistant->ExecuteDownload(&downloader),
                  0U);
    }
    std::string text =
        FormatText("%s, %d ms", CChipDownloader::GetStateName(setup.State()).c_str(),
                   static_cast<int>(clock.GetElapsed() / std::chrono::milliseconds(1)));
    text += setup.Error().empty() ? "" : ": ";
    for (const std::string& part : Split(setup.Error(), setup.PathOf(""))) {
        text += part;
    }
    return text + "\n";
}

void RunCases(const char* path) {
    for (const FILE_CASE& fileCase : ReadCases(path)) {
        SCOPED_TRACE(fileCase.name);
        CDownloadSetup setup(MakeRequest(fileCase));
        SetUp(fileCase, setup);
        EXPECT_EQ(Run(setup), fileCase.Text("="));
        std::string sent;
        for (const std::string& frame : setup.Chip().m_Sent) {
            sent += (sent.empty() ? "" : " | ") +
                    (frame.size() > 45 ? frame.substr(0, 24) + "..." : frame);
        }
        EXPECT_EQ(sent.empty() ? "" : sent + "\n", fileCase.Text(">"));
    }
}

TEST(Downloads, SendAndEndAsTheirCasesSay) {
    RunCases(HCILOAD_TEST_DATA "/downloads.txt");
    RunCases(HCILOAD_TEST_DATA "/patch_downloads.txt");
}

}  // namespace
