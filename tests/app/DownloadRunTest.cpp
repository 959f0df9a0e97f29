#include "app/DownloadRun.h"

#include <gmock/gmock.h>

#include <sstream>
#include <thread>

#include "support/CapturedStream.h"
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
    CCapturedStream output(stdout);
    CRunResult result;
    result.m_strError = perform(setup.Info(), connector);
    result.m_strPrinted = output.Take();
    return result;
}

CDownloadRequest CodeAndData(std::map<std::string, std::string> rules) {
    CDownloadRequest request;
    request.m_Firmwares = {IntelHexText({{0x200000, SampleBytes(16, 1)}})};
    request.m_Configs = {IntelHexText({{0xFFFFFFFEU, {0xA5, 0x5A}}})};
    request.m_Rules = std::move(rules);
    return request;
}

// How many polls a running download meets depends on the machine.
std::string WithoutRunning(const std::string& printed) {
    std::istringstream in(printed);
    std::string rest;
    for (std::string line; std::getline(in, line);) {
        const bool isRunning = line.find("Current state: Executing") != std::string::npos ||
                               line.ends_with("Current state: Initialized");
        rest += isRunning ? "" : line + "\n";
    }
    return rest;
}

TEST(DownloadRun, PrintsDetailsThenProgressThenAreas) {
    CDownloadSetup setup(CodeAndData({}));
    const CRunResult run = RunDownload(setup, &setup.Chip(), PerformDownload);
    EXPECT_EQ(run.m_strError, "");
    EXPECT_EQ(WithoutRunning(run.m_strPrinted),
              "Download firmware successfully had written 16 bytes to address 0x00200000:  " +
                  ToHex(SampleBytes(16, 1)) +
                  "\nDownload config successfully had written 2 bytes to address 0xFFFFFFFE:  "
                  "A5 5A\nChip reset to address 0x00000000 succeeded\n"
                  "Downloaded 16 code bytes (100.0%) and 2 data bytes (100.0%). Verified 0 code "
                  "bytes ( 0.0%) and 0 data bytes ( 0.0%).   Current state: Completed "
                  "successfully\n\n\nA total of 2 contiguous memory areas were filled:\n"
                  "[00200000..0020000F] CODE (16 bytes)\n[FFFFFFFE..FFFFFFFF] DATA (2 bytes)\n");
}

TEST(DownloadRun, AnErrorIsReturnedAndTheFilledAreasArePrinted) {
    CDownloadSetup setup(CodeAndData({}));
    setup.Chip().m_Faults = {{"01 4C FC 06", {}, "port is gone"}};
    const CRunResult run = RunDownload(setup, &setup.Chip(), PerformDownload);
    EXPECT_THAT(run.m_strError, testing::StartsWith("Download config error trying to write 2 "));
    EXPECT_THAT(run.m_strPrinted, testing::EndsWith("\n\n\nA total of 1 contiguous memory areas "
                                                    "were filled:\n[00200000..0020000F] CODE "
                                                    "(16 bytes)\n"));
}

TEST(DownloadRun, PrintsNothingWhenItCannotBePrepared) {
    CDownloadSetup setup({});
    const struct {
        Perform m_pPerform;
        CSerialConnector* m_pConnector;
        const char* m_szError;
    } cases[] = {
        {PerformDownload, nullptr, "ERROR in PerformDownload: NULL Connector!"},
        {PerformDownload, &setup.Chip(), "No data/code to load."},
        {PerformDownloadWithCallback, nullptr,
         "ERROR in PerformDownloadWithCallback: NULL Connector!"},
        {PerformDownloadWithCallback, &setup.Chip(), "No data/code to load."},
    };
    for (const auto& c : cases) {
        const CRunResult run = RunDownload(setup, c.m_pConnector, c.m_pPerform);
        EXPECT_EQ(run.m_strError, c.m_szError);
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
    const CRunResult run = RunDownload(setup, &setup.Chip(), PerformDownload);
    EXPECT_EQ(run.m_strError, "");
    for (const char* line :
         {"Downloaded 0 code bytes \\( 0.0%\\) and 0 data bytes \\( 0.0%\\). Verified 0 code bytes "
          "\\( 0.0%\\) and 0 data bytes \\( 0.0%\\).   Current state: Executing -- erasing chip",
          "Downloaded (4|8|12) code bytes \\((25|50|75).0%\\) and 0 data bytes \\( 0.0%\\).  "
          "Current state: Executing -- loading code",
          "Verified (4|8|12) code bytes \\((25|50|75).0%\\) and 0 data bytes \\( 0.0%\\).   "
          "Current state: Executing -- verifying code"}) {
        EXPECT_THAT(run.m_strPrinted, testing::ContainsRegex(std::string("\n") + line + "\n"));
    }
    // Whatever the polls met, each detail is printed once and in order.
    std::size_t at = 0;
    for (const char* detail :
         {"written 4 bytes to address 0x00200000", "written 4 bytes to address 0x00200004",
          "written 4 bytes to address 0x00200008", "written 4 bytes to address 0x0020000C",
          "written 2 bytes to address 0xFFFFFFFE", "verified 4 bytes at address 0x00200000",
          "verified 4 bytes at address 0x00200004", "verified 4 bytes at address 0x00200008",
          "verified 4 bytes at address 0x0020000C", "verified 2 bytes at address 0xFFFFFFFE"}) {
        EXPECT_EQ(at = run.m_strPrinted.find(detail, at), run.m_strPrinted.rfind(detail)) << detail;
        EXPECT_NE(at, std::string::npos) << detail;
    }
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
