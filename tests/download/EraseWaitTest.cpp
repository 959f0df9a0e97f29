#include "download/EraseWait.h"

#include <gmock/gmock.h>

#include "support/DownloadSetup.h"

namespace {

// The limits are counted in polls, so a test need not wait for them.
TEST(EraseWait, GivesUpOnAChipThatFallsSilentOrNeverEnds) {
    const struct {
        const char* m_szName;
        std::vector<unsigned int> m_MarkersAtPoll;
        std::string m_strError;
        unsigned int m_nPolls;
    } cases[] = {
        {"silent", {}, "Chip erase timeout (nLastProgressReportTime)", 5001},
        {"silent after a marker", {100}, "Chip erase timeout (nLastProgressReportTime)", 5101},
        {"a marker at the last moment", {5001, 10000}, "Chip erase timeout (nMaxLoopTries)", 10000},
        {"busy without end",
         {3000, 6000, 9000, 10001},
         "Chip erase timeout (nMaxLoopTries)",
         10000},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.m_szName);
        CDownloadSetup setup({});
        unsigned int poll = 0;
        for (const unsigned int marker : c.m_MarkersAtPoll) {
            while (++poll < marker) {
                setup.Chip().Receive({});
            }
            setup.Chip().Receive(FromHex("04 FF 01 CE"));
        }
        std::string error;
        EXPECT_FALSE(CEraseWait(&setup.Downloader(), 0).Wait(&error));
        EXPECT_EQ(error, c.m_strError);
        EXPECT_EQ(setup.Chip().m_nReads, c.m_nPolls);
        EXPECT_EQ(setup.NewDetails().size(), c.m_MarkersAtPoll.empty() ? 0U : 1U);
    }
}

TEST(EraseWait, TheLastPollStillCounts) {
    for (const unsigned int silentPolls : {5000U, 5001U}) {
        CDownloadSetup setup({});
        for (unsigned int i = 0; i < silentPolls; ++i) {
            setup.Chip().Receive({});
        }
        setup.Chip().Receive(FromHex("04 0E 04 01 CE FF 00"));
        std::string error;
        EXPECT_EQ(CEraseWait(&setup.Downloader(), 0).Wait(&error), silentPolls == 5000);
    }
}

}  // namespace
