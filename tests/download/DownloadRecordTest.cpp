#include "download/DownloadRecord.h"

#include <gmock/gmock.h>

#include "download/HciTrace.h"
#include "support/TempDir.h"
#include "util/FormatText.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

DownloadStates StateOf(const CDownloadRecord& record) {
    return record.GetStatus(nullptr, nullptr, nullptr, nullptr);
}

std::vector<std::string> NewDetails(CDownloadRecord& record) {
    std::vector<std::string> details = {"old"};
    const std::size_t count = record.GetAllRecentDetails(details);
    EXPECT_EQ(count, details.size());
    return details;
}

std::string NewLogLines(CDownloadRecord& record) {
    std::string lines = "old";
    record.GetMostRecentLogLines(&lines);
    return lines;
}

TEST(DownloadRecord, NamesItsStates) {
    const char* const names[] = {" INVALID STATE -1",
                                 "Uninitialized",
                                 "Initialized",
                                 "Executing -- loading minidriver",
                                 "Executing -- erasing chip",
                                 "Executing -- ready to download code or data",
                                 "Executing -- loading code",
                                 "Executing -- loading data",
                                 "Executing -- ready to verify code or data",
                                 "Executing -- verifying code",
                                 "Executing -- verifying data",
                                 "Completed successfully",
                                 "Terminated with error",
                                 "Canceled",
                                 " INVALID STATE 13"};
    for (int state = -1; state <= 13; ++state) {
        const auto value = static_cast<DownloadStates>(state);
        EXPECT_EQ(CDownloadRecord::GetStateName(value), names[state + 1]);
    }
}

TEST(DownloadRecord, CountsBytesAgainstTheTotals) {
    CDownloadRecord record;
    record.EndPreparation(200, 0);
    record.IncrementDownloadByteCounter(true, 40);
    record.IncrementDownloadByteCounter(true, 10);
    record.IncrementDownloadByteCounter(false, 7);
    record.IncrementVerifyByteCounter(true, 1);
    record.IncrementVerifyByteCounter(false, 3);
    unsigned int n[4] = {};
    float percent[2] = {};
    record.GetDownloadAmount(&n[0], &n[1], &n[2], &n[3], &percent[0], &percent[1]);
    EXPECT_THAT(n, ElementsAre(200, 0, 50, 7));
    EXPECT_THAT(percent, ElementsAre(25.0F, 0.0F));
    record.GetDownloadAmount(&n[2], &n[3], nullptr, nullptr, nullptr, nullptr);
    record.GetVerifiedAmount(&n[0], &n[1], &percent[0], &percent[1]);
    EXPECT_THAT(n, ElementsAre(1, 3, 200, 0));
    EXPECT_THAT(percent, ElementsAre(0.5F, 0.0F));
    record.GetStatus(&n[3], &n[2], &n[1], &n[0]);
    EXPECT_THAT(n, ElementsAre(3, 1, 7, 50));
}

TEST(DownloadRecord, KeepsTheKindOfTheLastBlock) {
    CDownloadRecord record;
    const auto block = [&record] {
        unsigned int address = 1;
        int place[2] = {};
        bool isCode = true;
        EXPECT_EQ(record.GetCurrentDownloadBlockInfo(&address, &place[0], &place[1], &isCode),
                  isCode);
        return FormatText("%X %d %d %d", address, place[0], place[1], isCode ? 1 : 0);
    };
    EXPECT_EQ(block(), "0 -1 -1 0");
    record.UpdateLoadingBlockInfo(0xFFFFFFF0U, 16, 4, true);
    EXPECT_EQ(block(), "FFFFFFF0 16 4 1");
    record.ClearLoadingBlockInfo();
    EXPECT_EQ(block(), "0 -1 -1 1");
}

TEST(DownloadRecord, HandsOutEachDetailOnce) {
    CDownloadRecord record;
    for (const char* text : {"a", "a", "b", "a", ""}) {
        record.SetStatusDetails(text);
    }
    EXPECT_THAT(NewDetails(record), ElementsAre("a", "b", "a", ""));
    EXPECT_THAT(NewDetails(record), IsEmpty());
    record.SetStatusDetails("");  // no news, although it was fetched
    record.SetStatusDetails("c");
    EXPECT_THAT(NewDetails(record), ElementsAre("c"));
}

TEST(DownloadRecord, LogsDetailsTextsAndErrors) {
    const CTempDir folder;
    {
        CDownloadRecord record;
        for (const std::string& name : {std::string("/nowhere/log.txt"), folder.PathOf("log")}) {
            record.AddLogText("no log yet");
            record.BeginPreparation(name.c_str());
        }
        record.BeginPreparation("");
        EXPECT_NE(fDebugPrint.load(), nullptr);
        record.AddLogText("text");
        record.SetStatusDetails("detail");
        record.SetStatusDetails("detail");
        record.SetError("error");
        const std::string lines = NewLogLines(record);
        EXPECT_THAT(lines, testing::MatchesRegex("([0-9:]{8}\\.[0-9]{3})  text\n[0-9:.]{12} "
                                                 "detail\n[0-9:.]{12} ERROR: error\n"));
        EXPECT_EQ(folder.Read("log"), lines);
        EXPECT_EQ(NewLogLines(record), "");
    }
    EXPECT_EQ(fDebugPrint.load(), nullptr);
}

TEST(DownloadRecord, CutsLongDetailsInTheLogOnly) {
    const CTempDir folder;
    CDownloadRecord record;
    record.BeginPreparation(folder.PathOf("log.txt").c_str());
    constexpr std::size_t STAMP = 13;  // with its space
    for (const std::size_t length : {2033U, 2034U, 2035U, 2036U, 100000U}) {
        record.SetStatusDetails(std::string(length, 'x'));
        EXPECT_EQ(NewLogLines(record).size(), std::min<std::size_t>(STAMP + length, 2047) + 1);
        EXPECT_EQ(NewDetails(record).at(0).size(), length);
    }
    record.AddLogText(std::string(3000, 'y'));
    EXPECT_EQ(NewLogLines(record).size(), STAMP + 1 + 3000 + 1);
}

// What the callback heard: a callback is a plain function.
std::vector<std::string> g_Heard;

unsigned int Hear(unsigned int downloaded, unsigned int verified, DownloadStates state,
                  const char* text) {
    g_Heard.push_back(FormatText("%u %u %d %s", downloaded, verified, static_cast<int>(state),
                                 text == nullptr ? "(null)" : text));
    return 77;
}

TEST(DownloadRecord, TheCallbackHearsOfDetailsOnlyWithALog) {
    const CTempDir folder;
    for (const std::string& logName : {std::string(), folder.PathOf("log.txt")}) {
        CDownloadRecord record;
        EXPECT_EQ(record.ReportProgress("nobody listens"), 0U);
        record.SetProgressCallback(Hear);
        record.BeginPreparation(logName.c_str());
        record.EndPreparation(1, 1);
        record.IncrementDownloadByteCounter(true, 10);
        record.IncrementDownloadByteCounter(false, 1);
        record.IncrementVerifyByteCounter(true, 2);
        record.IncrementVerifyByteCounter(false, 3);
        record.SetState(DOWNLOAD_LOADING_CODE);
        record.AddLogText("for the log only");
        record.SetStatusDetails("detail");
        EXPECT_EQ(record.ReportProgress("by hand"), 77U);
        record.SetError("broken");
        std::vector<std::string> expected = {"11 5 5 (null)", "11 5 5 by hand", "11 5 11 broken"};
        if (!logName.empty()) {
            expected.insert(expected.begin() + 1, "11 5 5 detail");
        }
        EXPECT_EQ(std::exchange(g_Heard, {}), expected);
    }
}

TEST(DownloadRecord, TheFirstFinalStateStandsUntilTheNextPreparation) {
    for (const DownloadStates state :
         {DOWNLOAD_COMPLETED, DOWNLOAD_TERMINATED_WITH_ERROR, DOWNLOAD_CANCELED}) {
        CDownloadRecord record;
        record.SetState(state);
        record.SetState(DOWNLOAD_LOADING_CODE);
        record.SetError("late");
        record.SetError("later");
        EXPECT_EQ(StateOf(record), state);
        EXPECT_STREQ(record.GetErrorDescription(), "later");
        record.EndPreparation(0, 0);
        EXPECT_EQ(StateOf(record), DOWNLOAD_INITIALIZED);
        record.SetState(state);
        record.FailPreparation("no file");
        EXPECT_EQ(StateOf(record), DOWNLOAD_TERMINATED_WITH_ERROR);
        EXPECT_STREQ(record.GetErrorDescription(), "no file");
    }
}

TEST(DownloadRecord, ACancelTakesEffectWhenSomebodyAsksWhetherItRuns) {
    for (int number = DOWNLOAD_UNINITIALIZED; number <= DOWNLOAD_CANCELED; ++number) {
        const auto state = static_cast<DownloadStates>(number);
        const bool runs = number >= 1 && number <= 9;
        CDownloadRecord record;
        record.SetState(state);
        EXPECT_EQ(record.IsRunning(), runs) << number;
        record.RequestCancel();
        EXPECT_EQ(StateOf(record), state);
        EXPECT_FALSE(record.IsRunning());
        EXPECT_EQ(StateOf(record), runs ? DOWNLOAD_CANCELED : state);
        EXPECT_EQ(record.IsCanceled(), runs || state == DOWNLOAD_CANCELED);
    }
}

TEST(DownloadRecord, ForgetsTheFilledAreasWhenPreparedAgain) {
    CDownloadRecord record;
    for (const std::size_t areas : {1U, 0U}) {
        record.BeginPreparation("");
        const CLockGuard access(record.AccessLock());
        if (areas > 0) {
            record.RecordCompletedMemSegment(1, 2, true);
        }
        EXPECT_EQ(record.GetCompletedMemSegmentList()->size(), areas);
    }
}

}  // namespace
