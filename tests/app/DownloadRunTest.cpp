#include "app/DownloadRun.h"

#include <gmock/gmock.h>

#include <thread>

#include "support/CaseFile.h"
#include "support/DownloadSetup.h"
#include "support/FakeClock.h"
#include "support/SampleImages.h"
#include "support/UnaffordableThreads.h"

namespace {

using Perform = std::string (*)(CChipImageLoadingInformation&, CSerialConnector*);

// What a run returned and printed.
struct CRunResult {
    std::string m_strError;
    std::string m_strPrinted;
};

// On a clock that is fast and lets both threads run.
CRunResult RunDownload(CDownloadSetup& setup, CSerialConnector* connector, Perform perform) {
    const CFakeClock clock(
        [](CFakeClock::Duration) { std::this_thread::sleep_for(std::chrono::milliseconds(1)); });
    testing::internal::CaptureStdout();
    const std::string error = perform(setup.Info(), connector);
    return {error, testing::internal::GetCapturedStdout()};
}

CDownloadRequest CodeAndData(std::map<std::string, std::string> rules) {
    CDownloadRequest request;
    request.m_strFirmware = IntelHexText({{0x200000, SampleBytes(16, 1)}});
    request.m_strConfig = IntelHexText({{0xFFFFFFFEU, {0xA5, 0x5A}}});
    request.m_Rules = std::move(rules);
    return request;
}

TEST(DownloadRun, PrintsNothingWhenItCannotBePrepared) {
    CDownloadSetup setup({});
    const std::string name = "ERROR in PerformDownload";
    const std::tuple<Perform, CSerialConnector*, std::string> cases[] = {
        {PerformDownload, nullptr, name + ": NULL Connector!"},
        {PerformDownload, &setup.Chip(), "No data/code to load."},
        {PerformDownloadWithCallback, nullptr, name + "WithCallback: NULL Connector!"},
        {PerformDownloadWithCallback, &setup.Chip(), "No data/code to load."},
    };
    for (const auto& [perform, connector, error] : cases) {
        const CRunResult run = RunDownload(setup, connector, perform);
        EXPECT_EQ(run.m_strError, error);
        EXPECT_EQ(run.m_strPrinted, "");
    }
}

// The chip takes its time, so that there is a poll in every state.
TEST(DownloadRun, EachStateHasItsLine) {
    CDownloadSetup setup(CodeAndData({{"DLConfigTargeting", "flash"},
                                      {"DLMaxWriteSize", "4"},
                                      {"DLSectorEraseMode", "Chip erase"},
                                      {"DLWriteVerifyMode", "write verify"}}));
    const auto answerLate = [&](const char* frameStart, const std::string& reply) {
        std::vector<std::string> pieces(20, "");
        pieces.push_back(reply);
        setup.Chip().m_Faults.push_back({frameStart, pieces, ""});
    };
    answerLate("01 CE", "04 0E 04 01 CE FF 00");
    const Bytes code = SampleBytes(16, 1);
    for (auto record = code.begin(); record != code.end(); record += 4) {
        answerLate("01 4C FC 08", "04 0E 04 01 4C FC 00");
        answerLate("01 4D FC 05", "04 0E 08 01 4D FC 00 " + ToHex(Bytes(record, record + 4)));
    }
    answerLate("01 4C FC 06", "04 0E 04 01 4C FC 00");
    answerLate("01 4D FC 05", "04 0E 06 01 4D FC 00 A5 5A");
    const CRunResult run = RunDownload(setup, &setup.Chip(), PerformDownload);
    EXPECT_EQ(run.m_strError, "");
    for (const char* line :
         {"Downloaded 0 code bytes \\( 0.0%\\) and 0 data bytes \\( 0.0%\\). Verified 0 code bytes "
          "\\( 0.0%\\) and 0 data bytes \\( 0.0%\\).   Current state: Executing -- erasing chip",
          "Downloaded (4|8|12) code bytes \\((25|50|75).0%\\) and 0 data bytes \\( 0.0%\\).  "
          "Current state: Executing -- loading code",
          "Downloaded 16 code bytes \\(100.0%\\) and (0|2) data bytes \\( ?(0|100).0%\\).  "
          "Current state: Executing -- loading data",
          "Verified (4|8|12) code bytes \\((25|50|75).0%\\) and 0 data bytes \\( 0.0%\\).   "
          "Current state: Executing -- verifying code",
          "Verified 16 code bytes \\(100.0%\\) and (0|2) data bytes \\( ?(0|100).0%\\).   "
          "Current state: Executing -- verifying data"}) {
        EXPECT_THAT(run.m_strPrinted, testing::ContainsRegex(std::string("\n") + line + "\n"));
    }
    // Each poll waits until the record is done, for which there is time to poll twenty times.
    EXPECT_LT(Split(run.m_strPrinted, "loading code\n").size(), 16U);
}

TEST(DownloadRun, AThreadThatDoesNotStartEndsTheRun) {
    const CUnaffordableThreads noThreads;
    CDownloadSetup setup(CodeAndData({}));
    const CRunResult run = RunDownload(setup, &setup.Chip(), PerformDownload);
    EXPECT_THAT(run.m_strError, testing::StartsWith("CChipDownloader::StartDownload failed to "
                                                    "start download thread! "));
    EXPECT_THAT(run.m_strPrinted, testing::EndsWith("Current state: Terminated with error\n"));
}

// The outcome reaches the callback only; details reach it only with a log.
TEST(DownloadRun, WithCallbackTheLinesComeFromTheDownloadThread) {
    for (const bool log : {false, true}) {
        CDownloadRequest request = CodeAndData({});
        request.m_bLog = log;
        CDownloadSetup setup(request);
        setup.Chip().m_Faults = {{"01 4E", {}, ""}};
        const CRunResult run = RunDownload(setup, &setup.Chip(), PerformDownloadWithCallback);
        EXPECT_EQ(run.m_strError, "");
        EXPECT_THAT(run.m_strPrinted,
                    testing::StartsWith("Downloaded 0 bytes.  Verified 0 bytes.    Current state: "
                                        "Executing -- ready to download code or data    \n"));
        EXPECT_THAT(run.m_strPrinted,
                    testing::EndsWith("Downloaded 18 bytes.  Verified 0 bytes.    Current state: "
                                      "Terminated with error    Chip reset to address 0x00000000 "
                                      "failed \n"));
        const std::size_t first = run.m_strPrinted.find(" A5 5A\n");
        EXPECT_EQ(run.m_strPrinted.rfind(" A5 5A\n") != first, log);
    }
}

TEST(DownloadRun, TimesAreDifferencesOfAClockThatStartsAgain) {
    EXPECT_DOUBLE_EQ(SecondsBetween(100, 900), 0.8);
    EXPECT_DOUBLE_EQ(SecondsBetween(900, 100), 4294966.496);
}

}  // namespace
