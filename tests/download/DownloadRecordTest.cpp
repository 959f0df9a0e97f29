#include "download/DownloadRecord.h"

#include <gmock/gmock.h>

#include "download/HciTrace.h"
#include "support/TempDir.h"
#include "util/FormatText.h"

namespace {

using testing::ElementsAre;
using Texts = std::vector<std::string>;

class DownloadRecord : public testing::Test {
protected:
    DownloadStates State() const { return m_Record->GetStatus(nullptr, nullptr, nullptr, nullptr); }
    Texts NewDetails() {
        Texts details = {"old"};
        const std::size_t count = m_Record->GetAllRecentDetails(details);
        EXPECT_EQ(count, details.size());
        return details;
    }
    std::string NewLogLines() {
        std::string lines = "old";
        m_Record->GetMostRecentLogLines(&lines);
        return lines;
    }

    const CTempDir m_Folder;
    const std::string m_strLog = m_Folder.PathOf("log.txt");
    std::unique_ptr<CDownloadRecord> m_Record = std::make_unique<CDownloadRecord>();
};

// The others are part of what runs print.
TEST_F(DownloadRecord, NamesStatesThatNoRunShows) {
    const std::pair<int, const char*> cases[] = {{-1, " INVALID STATE -1"},
                                                 {0, "Uninitialized"},
                                                 {2, "Executing -- loading minidriver"},
                                                 {7, "Executing -- ready to verify code or data"},
                                                 {13, " INVALID STATE 13"}};
    for (const auto& [state, name] : cases) {
        EXPECT_EQ(CDownloadRecord::GetStateName(static_cast<DownloadStates>(state)), name);
    }
}

TEST_F(DownloadRecord, CountsBytesAgainstTheTotals) {
    m_Record->EndPreparation(200, 0);
    m_Record->IncrementDownloadByteCounter(true, 40);
    m_Record->IncrementDownloadByteCounter(true, 10);
    m_Record->IncrementDownloadByteCounter(false, 7);
    m_Record->IncrementVerifyByteCounter(true, 1);
    m_Record->IncrementVerifyByteCounter(false, 3);
    unsigned int n[4] = {};
    float percent[2] = {};
    m_Record->GetDownloadAmount(&n[0], &n[1], &n[2], &n[3], &percent[0], &percent[1]);
    EXPECT_THAT(n, ElementsAre(200, 0, 50, 7));
    EXPECT_THAT(percent, ElementsAre(25.0F, 0.0F));
    m_Record->GetDownloadAmount(&n[2], &n[3], nullptr, nullptr, nullptr, nullptr);
    m_Record->GetVerifiedAmount(&n[0], &n[1], &percent[0], &percent[1]);
    EXPECT_THAT(n, ElementsAre(1, 3, 200, 0));
    EXPECT_THAT(percent, ElementsAre(0.5F, 0.0F));
    m_Record->GetStatus(&n[3], &n[2], &n[1], &n[0]);
    EXPECT_THAT(n, ElementsAre(3, 1, 7, 50));
}

TEST_F(DownloadRecord, KeepsTheKindOfTheLastBlock) {
    const auto block = [this] {
        unsigned int address = 1;
        int n[2] = {};
        bool isCode = true;
        const bool result = m_Record->GetCurrentDownloadBlockInfo(&address, &n[0], &n[1], &isCode);
        return FormatText("%X %d %d %d %d", address, n[0], n[1], isCode, result);
    };
    EXPECT_EQ(block(), "0 -1 -1 0 0");
    m_Record->UpdateLoadingBlockInfo(0xFFFFFFF0U, 16, 4, true);
    EXPECT_EQ(block(), "FFFFFFF0 16 4 1 1");
    m_Record->ClearLoadingBlockInfo();
    EXPECT_EQ(block(), "0 -1 -1 1 1");
}

TEST_F(DownloadRecord, HandsOutEachDetailOnce) {
    for (const char* text : {"a", "a", "b", "a", ""}) {
        m_Record->SetStatusDetails(text);
    }
    EXPECT_THAT(NewDetails(), ElementsAre("a", "b", "a", ""));
    m_Record->SetStatusDetails("");  // no news, although it was fetched
    EXPECT_THAT(NewDetails(), ElementsAre());
    m_Record->SetStatusDetails("c");
    EXPECT_THAT(NewDetails(), ElementsAre("c"));
}

TEST_F(DownloadRecord, LogsDetailsTextsAndErrors) {
    for (const std::string& name : {std::string("/nowhere/log.txt"), m_strLog}) {
        m_Record->AddLogText("no log yet");
        m_Record->BeginPreparation(name.c_str());
    }
    m_Record->BeginPreparation("");  // keeps the log
    EXPECT_NE(fDebugPrint.load(), nullptr);
    m_Record->AddLogText("text");
    m_Record->SetStatusDetails("detail");
    m_Record->SetStatusDetails("detail");
    m_Record->SetError("error");
    const std::string lines = NewLogLines();
    EXPECT_THAT(lines, testing::MatchesRegex("[0-9:]{8}\\.[0-9]{3}  text\n[0-9:.]{12} detail\n"
                                             "[0-9:.]{12} ERROR: error\n"));
    EXPECT_EQ(m_Folder.Read("log.txt"), lines);
    EXPECT_EQ(NewLogLines(), "");
    m_Record.reset();
    EXPECT_EQ(fDebugPrint.load(), nullptr);
}

TEST_F(DownloadRecord, CutsLongDetailsInTheLogOnly) {
    m_Record->BeginPreparation(m_strLog.c_str());
    constexpr std::size_t STAMP = 13;  // with its space
    for (const std::size_t length : {2033U, 2034U, 2035U, 2036U, 100000U}) {
        m_Record->SetStatusDetails(std::string(length, 'x'));
        EXPECT_EQ(NewLogLines().size(), std::min<std::size_t>(STAMP + length, 2047) + 1);
        EXPECT_EQ(NewDetails().at(0).size(), length);
    }
    m_Record->AddLogText(std::string(3000, 'y'));
    EXPECT_EQ(NewLogLines().size(), STAMP + 1 + 3000 + 1);
}

std::string g_strHeard;  // by the callback, which is a plain function

unsigned int Hear(unsigned int downloaded, unsigned int verified, DownloadStates state,
                  const char* text) {
    g_strHeard += FormatText("%u %u %d %s; ", downloaded, verified, static_cast<int>(state),
                             text == nullptr ? "(null)" : text);
    return 77;
}

TEST_F(DownloadRecord, TheCallbackHearsOfDetailsOnlyWithALog) {
    EXPECT_EQ(m_Record->ReportProgress("nobody listens"), 0U);
    m_Record->SetProgressCallback(Hear);
    m_Record->EndPreparation(1, 1);
    m_Record->IncrementDownloadByteCounter(true, 10);
    m_Record->IncrementDownloadByteCounter(false, 1);
    m_Record->IncrementVerifyByteCounter(true, 2);
    m_Record->IncrementVerifyByteCounter(false, 3);
    m_Record->SetState(DOWNLOAD_LOADING_CODE);
    m_Record->SetStatusDetails("unheard");
    m_Record->BeginPreparation(m_strLog.c_str());
    m_Record->AddLogText("for the log only");
    m_Record->SetStatusDetails("detail");
    EXPECT_EQ(m_Record->ReportProgress("by hand"), 77U);
    m_Record->SetError("broken");
    EXPECT_EQ(g_strHeard, "11 5 5 (null); 11 5 5 detail; 11 5 5 by hand; 11 5 11 broken; ");
}

TEST_F(DownloadRecord, TheFirstFinalStateStandsUntilTheNextPreparation) {
    for (const DownloadStates state :
         {DOWNLOAD_COMPLETED, DOWNLOAD_TERMINATED_WITH_ERROR, DOWNLOAD_CANCELED}) {
        m_Record->SetState(state);
        m_Record->SetState(DOWNLOAD_LOADING_CODE);
        m_Record->SetError("late");
        m_Record->SetError("later");
        EXPECT_EQ(State(), state);
        EXPECT_STREQ(m_Record->GetErrorDescription(), "later");
        m_Record->FailPreparation("no file");
        EXPECT_EQ(State(), DOWNLOAD_TERMINATED_WITH_ERROR);
        EXPECT_STREQ(m_Record->GetErrorDescription(), "no file");
        m_Record->EndPreparation(0, 0);
        EXPECT_EQ(State(), DOWNLOAD_INITIALIZED);
    }
}

TEST_F(DownloadRecord, ACancelTakesEffectWhenSomebodyAsksWhetherItRuns) {
    for (int number = DOWNLOAD_UNINITIALIZED; number <= DOWNLOAD_CANCELED; ++number) {
        const auto state = static_cast<DownloadStates>(number);
        const bool runs = number >= 1 && number <= 9;
        m_Record = std::make_unique<CDownloadRecord>();
        m_Record->SetState(state);
        EXPECT_EQ(m_Record->IsRunning(), runs) << number;
        m_Record->RequestCancel();
        EXPECT_EQ(State(), state);
        EXPECT_FALSE(m_Record->IsRunning());
        EXPECT_EQ(State(), runs ? DOWNLOAD_CANCELED : state);
        EXPECT_EQ(m_Record->IsCanceled(), runs || state == DOWNLOAD_CANCELED);
    }
}

TEST_F(DownloadRecord, ForgetsTheFilledAreasWhenPreparedAgain) {
    for (int preparation = 0; preparation < 2; ++preparation) {
        m_Record->BeginPreparation("");
        const CLockGuard access(m_Record->AccessLock());
        m_Record->RecordCompletedMemSegment(1, 2, true);
        EXPECT_EQ(m_Record->GetCompletedMemSegmentList()->size(), 1U);
    }
}

}  // namespace
