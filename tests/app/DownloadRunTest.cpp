#include "app/DownloadRun.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <sstream>

#include "support/CapturedStream.h"
#include "support/DownloadSetup.h"
#include "support/SampleImages.h"
#include "support/UnaffordableThreads.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::MatchesRegex;
using testing::StartsWith;

using Lines = std::vector<std::string>;

// Polls quickly while it lives.
class CShortInterval {
public:
    CShortInterval() { PROGRESS_REPORT_INTERVAL_MS = 2; }
    CShortInterval(const CShortInterval&) = delete;
    CShortInterval& operator=(const CShortInterval&) = delete;
    ~CShortInterval() { PROGRESS_REPORT_INTERVAL_MS = 1000; }
};

// What one run returned and printed.
struct CRunResult {
    std::string m_strError;
    Lines m_Lines;
};

CRunResult RunDownload(CDownloadSetup& setup, CSerialConnector* connector,
                       std::string (*perform)(CChipImageLoadingInformation&, CSerialConnector*)) {
    const CShortInterval shortInterval;
    CCapturedStream output(stdout);
    CRunResult result;
    result.m_strError = perform(setup.Info(), connector);
    std::istringstream printed(output.Take());
    for (std::string line; std::getline(printed, line);) {
        result.m_Lines.push_back(line);
    }
    return result;
}

CDownloadRequest CodeAndData(std::map<std::string, std::string> rules) {
    CDownloadRequest request;
    request.m_Firmwares = {IntelHexText({{0x200000, SampleBytes(16, 1)}})};
    request.m_Configs = {IntelHexText({{0xFFFFFFFEU, {0xA5, 0x5A}}})};
    request.m_Rules = std::move(rules);
    return request;
}

// A short download is over before the first poll, unless the machine is busy.
Lines WithoutEarlyProgress(Lines lines) {
    std::erase_if(lines, [](const std::string& line) {
        return line.find("Current state: Executing") != std::string::npos;
    });
    return lines;
}

TEST(DownloadRun, PrintsDetailsThenProgressThenAreas) {
    CDownloadSetup setup(CodeAndData({}));
    const CRunResult run = RunDownload(setup, &setup.Chip(), PerformDownload);
    EXPECT_EQ(run.m_strError, "");
    const std::string code = ToHex(SampleBytes(16, 1));
    EXPECT_THAT(
        run.m_Lines,
        ElementsAre(
            "Download firmware successfully had written 16 bytes to address 0x00200000:  " + code,
            "Download config successfully had written 2 bytes to address 0xFFFFFFFE:  A5 5A",
            "Chip reset to address 0x00000000 succeeded",
            "Downloaded 16 code bytes (100.0%) and 2 data bytes (100.0%). Verified 0 code "
            "bytes ( 0.0%) and 0 data bytes ( 0.0%).   Current state: Completed "
            "successfully",
            "", "", "A total of 2 contiguous memory areas were filled:",
            "[00200000..0020000F] CODE (16 bytes)", "[FFFFFFFE..FFFFFFFF] DATA (2 bytes)"));
}

TEST(DownloadRun, AnErrorIsReturnedAndTheFilledAreasArePrinted) {
    CDownloadSetup setup(CodeAndData({}));
    setup.Chip().m_Faults = {{"01 4C FC 06", {}, "port is gone"}};
    const CRunResult run = RunDownload(setup, &setup.Chip(), PerformDownload);
    EXPECT_THAT(run.m_strError, StartsWith("Download config error trying to write 2 bytes to "
                                           "address 0xFFFFFFFE    (SOURCE:  CONFIG   "));
    const Lines lines = WithoutEarlyProgress(run.m_Lines);
    ASSERT_EQ(lines.size(), 6U);
    EXPECT_EQ(lines[1],
              "Downloaded 16 code bytes (100.0%) and 0 data bytes ( 0.0%). Verified 0 code bytes ( "
              "0.0%) and 0 data bytes ( 0.0%).   Current state: Terminated with error");
    EXPECT_EQ(lines[4], "A total of 1 contiguous memory areas were filled:");
    EXPECT_EQ(lines[5], "[00200000..0020000F] CODE (16 bytes)");
}

TEST(DownloadRun, AFailedPreparationPrintsNothing) {
    CDownloadSetup setup({});
    for (const auto& perform : {PerformDownload, PerformDownloadWithCallback}) {
        const CRunResult run = RunDownload(setup, &setup.Chip(), perform);
        EXPECT_EQ(run.m_strError, "No data/code to load.");
        EXPECT_THAT(run.m_Lines, testing::IsEmpty());
    }
}

TEST(DownloadRun, NeedsAConnector) {
    CDownloadSetup setup({});
    EXPECT_EQ(RunDownload(setup, nullptr, PerformDownload).m_strError,
              "ERROR in PerformDownload: NULL Connector!");
    EXPECT_EQ(RunDownload(setup, nullptr, PerformDownloadWithCallback).m_strError,
              "ERROR in PerformDownloadWithCallback: NULL Connector!");
}

// The chip takes its time, so that there is a poll in every state.
TEST(DownloadRun, EachStateHasItsLine) {
    CDownloadSetup setup(CodeAndData({{"DLConfigTargeting", "flash"},
                                      {"DLMaxWriteSize", "4"},
                                      {"DLSectorEraseMode", "Chip erase"},
                                      {"DLWriteVerifyMode", "write verify"}}));
    // The erase outlasts the half second that passes before the first poll.
    const std::vector<std::string> pause(20, "");
    const auto afterPause = [&](const char* frameStart, const std::string& reply) {
        std::vector<std::string> pieces = pause;
        pieces.push_back(reply);
        setup.Chip().m_Faults.push_back({frameStart, pieces, ""});
    };
    setup.Chip().m_Faults.push_back({"01 CE", std::vector<std::string>(110, ""), ""});
    setup.Chip().m_Faults.back().m_Pieces.emplace_back("04 0E 04 01 CE FF 00");
    const Bytes code = SampleBytes(16, 1);
    for (auto record = code.begin(); record != code.end(); record += 4) {
        afterPause("01 4C FC 08", "04 0E 04 01 4C FC 00");
        afterPause("01 4D FC 05", "04 0E 08 01 4D FC 00 " + ToHex(Bytes(record, record + 4)));
    }
    afterPause("01 4C FC 06", "04 0E 04 01 4C FC 00");
    afterPause("01 4D FC 05", "04 0E 06 01 4D FC 00 A5 5A");
    const CRunResult run = RunDownload(setup, &setup.Chip(), PerformDownload);
    EXPECT_EQ(run.m_strError, "");

    Lines lines = run.m_Lines;
    lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
    EXPECT_THAT(lines,
                Contains("Downloaded 0 code bytes ( 0.0%) and 0 data bytes ( 0.0%). Verified "
                         "0 code bytes ( 0.0%) and 0 data bytes ( 0.0%).   Current state: "
                         "Executing -- erasing chip"));
    EXPECT_THAT(lines, Contains(MatchesRegex("Downloaded (4|8|12) code bytes \\((25|50|75)\\.0%\\) "
                                             "and 0 data bytes \\( 0\\.0%\\)\\.  Current state: "
                                             "Executing -- loading code")));
    EXPECT_THAT(lines,
                Contains(MatchesRegex("Verified (4|8|12) code bytes \\((25|50|75)\\.0%\\) and "
                                      "0 data bytes \\( 0\\.0%\\)\\.   Current state: "
                                      "Executing -- verifying code")));
    // Whatever the polls met, each detail is printed once and in order.
    Lines details;
    for (const std::string& line : run.m_Lines) {
        if (line.starts_with("Download ") || line.starts_with("Chip ")) {
            details.push_back(line.substr(0, line.find(':')));
        }
    }
    EXPECT_THAT(details,
                ElementsAreArray(
                    {"Download firmware successfully had written 4 bytes to address 0x00200000",
                     "Download firmware successfully had written 4 bytes to address 0x00200004",
                     "Download firmware successfully had written 4 bytes to address 0x00200008",
                     "Download firmware successfully had written 4 bytes to address 0x0020000C",
                     "Download config successfully had written 2 bytes to address 0xFFFFFFFE",
                     "Download firmware successfully verified 4 bytes at address 0x00200000",
                     "Download firmware successfully verified 4 bytes at address 0x00200004",
                     "Download firmware successfully verified 4 bytes at address 0x00200008",
                     "Download firmware successfully verified 4 bytes at address 0x0020000C",
                     "Download config successfully had verified 2 bytes at address 0xFFFFFFFE",
                     "Chip reset to address 0x00000000 succeeded"}));
}

TEST(DownloadRun, AThreadThatDoesNotStartEndsTheRun) {
    const CUnaffordableThreads noThreads;
    CDownloadSetup setup(CodeAndData({}));
    const CRunResult run = RunDownload(setup, &setup.Chip(), PerformDownload);
    EXPECT_THAT(run.m_strError, StartsWith("CChipDownloader::StartDownload failed to start "
                                           "download thread! "));
    ASSERT_EQ(run.m_Lines.size(), 1U);
    EXPECT_THAT(run.m_Lines[0], testing::EndsWith("Current state: Terminated with error"));
}

// The outcome reaches the callback only, details do so only with a log.
TEST(DownloadRun, WithCallbackTheLinesComeFromTheDownloadThread) {
    for (const bool log : {false, true}) {
        CDownloadRequest request = CodeAndData({});
        request.m_bLog = log;
        CDownloadSetup setup(request);
        setup.Chip().m_Faults = {{"01 4E", {}, ""}};
        const CRunResult run = RunDownload(setup, &setup.Chip(), PerformDownloadWithCallback);
        EXPECT_EQ(run.m_strError, "");
        ASSERT_GT(run.m_Lines.size(), 3U);
        EXPECT_EQ(run.m_Lines[0],
                  "Downloaded 0 bytes.  Verified 0 bytes.    Current state: Executing -- ready to "
                  "download code or data    ");
        EXPECT_EQ(run.m_Lines.back(),
                  "Downloaded 18 bytes.  Verified 0 bytes.    Current state: Terminated with "
                  "error    Chip reset to address 0x00000000 failed ");
        const auto fromDetails = static_cast<std::size_t>(
            std::count_if(run.m_Lines.begin(), run.m_Lines.end(),
                          [](const std::string& line) { return line.ends_with(" A5 5A"); }));
        EXPECT_EQ(fromDetails, log ? 2U : 1U);
    }
}

TEST(DownloadRun, TimesAreDifferencesOfAClockThatStartsAgain) {
    EXPECT_DOUBLE_EQ(SecondsBetween(100, 900), 0.8);
    EXPECT_DOUBLE_EQ(SecondsBetween(900, 100), 4294966.496);
}

}  // namespace
