#include "download/ChipDownloader.h"

#include <gmock/gmock.h>

#include <atomic>
#include <mutex>
#include <string_view>

#include "download/HciTrace.h"
#include "os/OSTime.h"
#include "support/DownloadSetup.h"
#include "support/SampleImages.h"
#include "support/UnaffordableThreads.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr std::size_t STAMP_LENGTH = 12;  // HH:MM:SS.mmm

// What the callback heard, for the callback is a plain function.
std::mutex g_HeardMutex;
std::vector<std::string> g_Heard;

unsigned int Hear(unsigned int downloaded, unsigned int verified, DownloadStates state,
                  const char* text) {
    const std::lock_guard lock(g_HeardMutex);
    g_Heard.push_back(std::to_string(downloaded) + " " + std::to_string(verified) + " " +
                      std::to_string(state) + " " + (text == nullptr ? "(null)" : text));
    return 77;
}

// The lines of a log without their stamps.
std::vector<std::string> WithoutStamps(const std::string& log) {
    std::vector<std::string> lines;
    std::istringstream in(log);
    for (std::string line; std::getline(in, line);) {
        EXPECT_THAT(line.substr(0, STAMP_LENGTH),
                    testing::MatchesRegex(R"([0-9]{2}:[0-9]{2}:[0-9]{2}\.[0-9]{3})"));
        lines.push_back(line.substr(std::min(STAMP_LENGTH, line.size())));
    }
    return lines;
}

std::string Line(std::string start, std::size_t count, char character) {
    return start.append(count, character);
}

CDownloadRequest Reserved(bool log) {
    CDownloadRequest request;
    request.m_bVintorMode = false;
    request.m_bLog = log;
    return request;
}

TEST(ChipDownloader, NamesItsStates) {
    const struct {
        int m_nState;
        const char* m_szName;
    } cases[] = {
        {0, "Uninitialized"},
        {1, "Initialized"},
        {2, "Executing -- loading minidriver"},
        {3, "Executing -- erasing chip"},
        {4, "Executing -- ready to download code or data"},
        {5, "Executing -- loading code"},
        {6, "Executing -- loading data"},
        {7, "Executing -- ready to verify code or data"},
        {8, "Executing -- verifying code"},
        {9, "Executing -- verifying data"},
        {10, "Completed successfully"},
        {11, "Terminated with error"},
        {12, "Canceled"},
        {13, " INVALID STATE 13"},
        {-1, " INVALID STATE -1"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(CChipDownloader::GetStateName(static_cast<DownloadStates>(c.m_nState)),
                  c.m_szName);
    }
}

TEST(ChipDownloader, CountsBytesAgainstTheTotalsOfAllChunks) {
    CDownloadRequest request;
    request.m_Firmwares = {IntelHexText({{0x100, Bytes(100)}, {0x1000, Bytes(20)}}),
                           IntelHexText({{0x3000, Bytes(80)}})};
    CDownloadSetup setup(request);
    CChipDownloader& downloader = setup.Downloader();
    ASSERT_EQ(setup.Prepare(), "");
    downloader.IncrementDownloadByteCounter(true, 40);
    downloader.IncrementDownloadByteCounter(true, 10);
    downloader.IncrementDownloadByteCounter(false, 7);
    downloader.IncrementVerifyByteCounter(true, 1);
    downloader.IncrementVerifyByteCounter(false, 3);

    unsigned int codeTotal = 0;
    unsigned int dataTotal = 1;
    unsigned int code = 0;
    unsigned int data = 0;
    float codePercent = 0;
    float dataPercent = 1;
    downloader.GetDownloadAmount(&codeTotal, &dataTotal, &code, &data, &codePercent, &dataPercent);
    EXPECT_THAT((std::vector{codeTotal, dataTotal, code, data}), ElementsAre(200U, 0U, 50U, 7U));
    EXPECT_EQ(codePercent, 25.0F);
    EXPECT_EQ(dataPercent, 0.0F);
    downloader.GetDownloadAmount(&codeTotal, &dataTotal, nullptr, nullptr, nullptr, nullptr);

    downloader.GetVerifiedAmount(&code, &data, &codePercent, &dataPercent);
    EXPECT_THAT((std::vector{code, data}), ElementsAre(1U, 3U));
    EXPECT_EQ(codePercent, 0.5F);
    EXPECT_EQ(dataPercent, 0.0F);
    downloader.GetVerifiedAmount(nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(downloader.AddUpChunkSizes("firmware"), 200U);
    EXPECT_EQ(downloader.AddUpChunkSizes("MINIDRIVER"), 0U);
}

TEST(ChipDownloader, TellsTheBlockInHand) {
    CDownloadSetup setup({});
    CChipDownloader& downloader = setup.Downloader();
    unsigned int address = 1;
    int size = 0;
    int position = 0;
    bool isCode = true;
    EXPECT_FALSE(downloader.GetCurrentDownloadBlockInfo(&address, &size, &position, &isCode));
    EXPECT_EQ(address, 0U);
    EXPECT_EQ(size, -1);
    downloader.UpdateLoadingBlockInfo(0xFFFFFFF0U, 16, 4, true);
    EXPECT_TRUE(downloader.GetCurrentDownloadBlockInfo(&address, &size, &position, &isCode));
    EXPECT_EQ(address, 0xFFFFFFF0U);
    EXPECT_EQ(size, 16);
    EXPECT_EQ(position, 4);
    downloader.ClearLoadingBlockInfo();
    // The flag outlives the block.
    EXPECT_TRUE(downloader.GetCurrentDownloadBlockInfo(&address, &size, &position, &isCode));
    EXPECT_EQ(address, 0U);
    EXPECT_EQ(size, -1);
    EXPECT_EQ(position, -1);
}

TEST(ChipDownloader, HandsOutEachDetailOnce) {
    CDownloadSetup setup({});
    CChipDownloader& downloader = setup.Downloader();
    for (const char* text : {"a", "a", "b", "a", ""}) {
        downloader.SetStatusDetails(text);
    }
    EXPECT_THAT(setup.NewDetails(), ElementsAre("a", "b", "a", ""));
    std::vector<std::string> details = {"old"};
    EXPECT_EQ(downloader.GetAllRecentDetails(details), 0U);
    EXPECT_THAT(details, IsEmpty());
    // The same text again is no news, even after it was fetched.
    downloader.SetStatusDetails("");
    downloader.SetStatusDetails("c");
    EXPECT_EQ(downloader.GetAllRecentDetails(details), 1U);
    EXPECT_THAT(details, ElementsAre("c"));
}

TEST(ChipDownloader, LogsWhatItIsGoingToDo) {
    CDownloadRequest request;
    request.m_strMinidriver = IntelHexText({{0x100, {1}}});
    request.m_Firmwares = {IntelHexText({{0x100, {1, 2}}}), IntelHexText({{0x200, {3}}})};
    request.m_Configs = {IntelHexText({{0x300, {1}}})};
    request.m_bLog = true;
    request.m_pfnOverride = [](auto& info) { info.SetFlagIssueDownloadMinidriverCommand(false); };
    CDownloadSetup setup(request);
    ASSERT_EQ(setup.Prepare(), "");
    EXPECT_EQ(setup.State(), DOWNLOAD_INITIALIZED);
    EXPECT_THAT(
        WithoutStamps(setup.LogText()),
        ElementsAre("  Will be downloading 3 bytes of code and 1 bytes of data "
                    "using minidriver " +
                        setup.PathOf("minidriver.img"),
                    "  No VNP file specified", "  The firmware is coming from the following files",
                    "  " + setup.PathOf("firmware0.img"), "  " + setup.PathOf("firmware1.img"),
                    "  The config data is coming from the following files",
                    "  " + setup.PathOf("config0.img")));
}

TEST(ChipDownloader, LogsWithoutMinidriverAndFiles) {
    CDownloadSetup setup(Reserved(true));
    ASSERT_EQ(setup.Prepare(), "");
    EXPECT_THAT(WithoutStamps(setup.LogText()),
                ElementsAre("  Will be downloading 0 bytes of code and 0 bytes of data without a "
                            "minidriver",
                            "  No VNP file specified"));
}

TEST(ChipDownloader, CutsLongDetailsInTheLogOnly) {
    CDownloadSetup setup(Reserved(true));
    CChipDownloader& downloader = setup.Downloader();
    ASSERT_EQ(setup.Prepare(), "");
    std::string lines;
    downloader.GetMostRecentLogLines(&lines);
    // A line has at most 2047 characters, 13 of them before the text.
    const struct {
        std::size_t m_nLength;
        std::size_t m_nLogged;
    } cases[] = {{2034, 2034}, {2035, 2034}, {2036, 2034}, {100000, 2034}};
    for (const auto& c : cases) {
        const std::string text(c.m_nLength, 'x');
        downloader.SetStatusDetails(text.c_str());
        downloader.GetMostRecentLogLines(&lines);
        EXPECT_THAT(WithoutStamps(lines), ElementsAre(Line(" ", c.m_nLogged, 'x')));
        EXPECT_THAT(setup.NewDetails(), ElementsAre(text));
    }
    // Other lines are never cut.
    downloader.AddLogText(std::string(3000, 'y').c_str());
    downloader.SetError(std::string(3000, 'z').c_str());
    downloader.GetMostRecentLogLines(&lines);
    EXPECT_THAT(WithoutStamps(lines),
                ElementsAre(Line("  ", 3000, 'y'), Line(" ERROR: ", 3000, 'z')));
    downloader.GetMostRecentLogLines(&lines);
    EXPECT_EQ(lines, "");
    EXPECT_THAT(setup.LogText(), HasSubstr(std::string(3000, 'z') + "\n"));
}

TEST(ChipDownloader, AFailedPreparationIsAnError) {
    CDownloadRequest request;
    request.m_bLog = true;
    CDownloadSetup setup(request);
    EXPECT_EQ(setup.Prepare(), "No data/code to load.");
    EXPECT_EQ(setup.State(), DOWNLOAD_TERMINATED_WITH_ERROR);
    EXPECT_EQ(setup.Error(), "No data/code to load.");
    EXPECT_THAT(WithoutStamps(setup.LogText()), ElementsAre(" ERROR: No data/code to load."));
}

TEST(ChipDownloader, ALogThatCannotBeWrittenIsNoError) {
    CDownloadRequest request = Reserved(false);
    request.m_pfnOverride = [](auto& info) {
        info.GetDescriptor().SetLogFileName("/nowhere/at/all/log.txt");
    };
    CDownloadSetup setup(request);
    EXPECT_EQ(setup.Prepare(), "");
    setup.Downloader().SetStatusDetails("still there");
    EXPECT_THAT(setup.NewDetails(), ElementsAre("still there"));
}

TEST(ChipDownloader, TracesIntoItsLogWhileItLives) {
    CDownloadSetup setup(Reserved(true));
    ASSERT_EQ(setup.Prepare(), "");
    EXPECT_NE(fDebugPrint.load(), nullptr);
    setup.DestroyDownloader();
    EXPECT_EQ(fDebugPrint.load(), nullptr);
}

// Details reach the callback only while there is a log, errors always.
TEST(ChipDownloader, TheCallbackHearsOfDetailsOnlyWithALog) {
    for (const bool log : {false, true}) {
        CDownloadSetup setup(Reserved(log));
        CChipDownloader& downloader = setup.Downloader();
        ASSERT_EQ(setup.Prepare(), "");
        EXPECT_EQ(downloader.ReportProgress("nobody listens"), 0U);
        g_Heard.clear();
        // Outside Vintor mode the download thread does nothing.
        ASSERT_EQ(downloader.StartDownload(Hear), "");
        EXPECT_EQ(setup.State(), DOWNLOAD_INITIALIZED);
        downloader.IncrementDownloadByteCounter(true, 10);
        downloader.IncrementDownloadByteCounter(false, 1);
        downloader.IncrementVerifyByteCounter(false, 3);
        downloader.SetState(DOWNLOAD_LOADING_CODE);
        downloader.SetStatusDetails("detail");
        downloader.SetStatusDetails("detail");
        downloader.AddLogText("for the log only");
        EXPECT_EQ(downloader.ReportProgress("by hand"), 77U);
        downloader.SetError("broken");
        std::vector<std::string> expected = {"11 3 5 (null)", "11 3 5 by hand", "11 3 11 broken"};
        if (log) {
            expected.insert(expected.begin() + 1, "11 3 5 detail");
        }
        EXPECT_EQ(g_Heard, expected);
    }
}

TEST(ChipDownloader, ReportsAThreadThatCannotBeStarted) {
    CDownloadSetup setup(Reserved(true));
    ASSERT_EQ(setup.Prepare(), "");
    const CUnaffordableThreads noThreads;
    const std::string error = setup.Downloader().StartDownload(nullptr);
    EXPECT_THAT(error,
                StartsWith("CChipDownloader::StartDownload failed to start download thread! "));
    EXPECT_EQ(setup.Error(), error);
    EXPECT_EQ(setup.State(), DOWNLOAD_TERMINATED_WITH_ERROR);
    EXPECT_THAT(setup.LogText(), HasSubstr(" ERROR: " + error + "\n"));
}

TEST(ChipDownloader, ACancelTakesEffectWhenTheStateIsAskedFor) {
    CDownloadSetup setup(Reserved(false));
    CChipDownloader& downloader = setup.Downloader();
    EXPECT_FALSE(downloader.IsRunning());
    EXPECT_EQ(downloader.CancelDownload(0), "Not running!");
    ASSERT_EQ(setup.Prepare(), "");
    EXPECT_TRUE(downloader.IsRunning());
    EXPECT_EQ(downloader.CancelDownload(0), "");
    EXPECT_EQ(setup.State(), DOWNLOAD_INITIALIZED);
    EXPECT_FALSE(downloader.IsRunning());
    EXPECT_EQ(setup.State(), DOWNLOAD_CANCELED);
    EXPECT_EQ(downloader.CancelDownload(0), "Not running!");
    EXPECT_EQ(setup.Error(), "");

    CDownloadSetup patient(Reserved(false));
    ASSERT_EQ(patient.Prepare(), "");
    EXPECT_EQ(patient.Downloader().CancelDownload(100), "");
    EXPECT_EQ(patient.State(), DOWNLOAD_CANCELED);
}

TEST(ChipDownloader, AFinalStateIsNotCanceled) {
    for (const DownloadStates state : {DOWNLOAD_COMPLETED, DOWNLOAD_TERMINATED_WITH_ERROR}) {
        CDownloadSetup setup(Reserved(false));
        setup.Downloader().SetState(DOWNLOAD_LOADING_DATA);
        EXPECT_EQ(setup.Downloader().CancelDownload(0), "");
        setup.Downloader().SetState(state);
        EXPECT_FALSE(setup.Downloader().IsRunning());
        EXPECT_EQ(setup.State(), state);
    }
}

TEST(ChipDownloader, TheFirstFinalStateStandsUntilTheNextPreparation) {
    for (const DownloadStates state : {DOWNLOAD_COMPLETED, DOWNLOAD_TERMINATED_WITH_ERROR}) {
        CDownloadSetup setup(Reserved(false));
        ASSERT_EQ(setup.Prepare(), "");
        setup.Downloader().SetState(state);
        setup.Downloader().SetState(DOWNLOAD_LOADING_CODE);
        EXPECT_EQ(setup.State(), state);
        setup.Downloader().SetState(DOWNLOAD_COMPLETED);
        setup.Downloader().SetError("late");
        EXPECT_EQ(setup.State(), state);
        EXPECT_EQ(setup.Prepare(), "");
        EXPECT_EQ(setup.State(), DOWNLOAD_INITIALIZED);
    }
    CDownloadRequest unreadable;
    unreadable.m_Firmwares = {"no image"};
    CDownloadSetup setup(unreadable);
    setup.Downloader().SetState(DOWNLOAD_COMPLETED);
    EXPECT_NE(setup.Prepare(), "");
    EXPECT_EQ(setup.State(), DOWNLOAD_TERMINATED_WITH_ERROR);
}

// The chip takes records for as long as there is someone to send them.
CDownloadRequest EndlessDownload() {
    CDownloadRequest request;
    request.m_Firmwares = {IntelHexText({{0x200000, Bytes(300)}})};
    request.m_Rules = {{"DLConfigTargeting", "RAM"}, {"DLMaxWriteSize", "256"}};
    request.m_bLog = true;
    return request;
}

TEST(ChipDownloader, CanBeDestroyedInTheMiddleOfADownload) {
    CDownloadSetup setup(EndlessDownload());
    ASSERT_EQ(setup.Prepare(), "");
    g_Heard.clear();
    ASSERT_EQ(setup.Downloader().StartDownload(Hear), "");
    EXPECT_TRUE(setup.Downloader().IsRunning());
    setup.DestroyDownloader();
    // From here on the thread is over: nobody guards these any more.
    EXPECT_FALSE(g_Heard.empty());
    EXPECT_GT(setup.Chip().m_Sent.size(), 1U);
}

// The procedure gives the lock back for microseconds only, so a poller has to be next in line.
TEST(ChipDownloader, APollerGetsInWithinARecord) {
    if (std::string_view(HCILOAD_SANITIZE).find("thread") != std::string_view::npos) {
        GTEST_SKIP() << "the sanitizer takes longer than a record to wake the poller";
    }
    CDownloadSetup setup(EndlessDownload());
    ASSERT_EQ(setup.Prepare(), "");
    std::atomic<unsigned int> frames = 0;
    setup.Chip().m_pfnFrameSent = [&frames] {
        ++frames;
        frames.notify_one();
    };
    ASSERT_EQ(setup.Downloader().StartDownload(nullptr), "");
    constexpr unsigned int POLLS = 60;
    unsigned int framesWaitedFor = 0;
    for (unsigned int i = 0; i < POLLS; ++i) {
        // Asked for while a record is on its way, the lock comes when that record is done.
        const unsigned int before = frames;
        frames.wait(before);
        EXPECT_TRUE(setup.Downloader().LockForAccess());
        framesWaitedFor += frames - before - 1;
        setup.Downloader().UnlockAccess();
    }
    setup.DestroyDownloader();
    // A busy machine may stop us now and then between seeing a record and asking.
    EXPECT_LE(framesWaitedFor, POLLS / 3);
}

TEST(ChipDownloader, AStartEndsTheDownloadThatStillRuns) {
    CDownloadSetup setup(EndlessDownload());
    ASSERT_EQ(setup.Prepare(), "");
    ASSERT_EQ(setup.Downloader().StartDownload(nullptr), "");
    {
        const CUnaffordableThreads none;
        EXPECT_NE(setup.Downloader().StartDownload(nullptr), "");
    }
    const std::size_t sent = setup.Chip().m_Sent.size();
    PutThreadToSleep(50);
    EXPECT_EQ(setup.Chip().m_Sent.size(), sent);
    EXPECT_EQ(setup.State(), DOWNLOAD_TERMINATED_WITH_ERROR);
}

TEST(ChipDownloader, StopsARunningDownload) {
    CDownloadSetup setup(EndlessDownload());
    ASSERT_EQ(setup.Prepare(), "");
    ASSERT_EQ(setup.Downloader().StartDownload(nullptr), "");
    EXPECT_EQ(setup.Downloader().CancelDownload(2000), "");
    EXPECT_EQ(setup.State(), DOWNLOAD_CANCELED);
}

}  // namespace
