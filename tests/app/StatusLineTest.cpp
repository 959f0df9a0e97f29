#include "app/StatusLine.h"

#include <gtest/gtest.h>

namespace {

TEST(StatusLine, SaysWhatIsKnownInTheRoomThereIs) {
    const struct {
        CPhaseProgress m_Progress;
        unsigned int m_nColumns;
        const char* m_szText;
    } cases[] = {
        {{"Erasing the chip", 0, 0, 0, 12.4}, 79, "Erasing the chip  0:12 gone"},
        {{"Writing", 500, 1000, 0, 0},
         79,
         "Writing  [#############.............]   50%  0:00 gone"},
        {{"Writing", 999, 1000, 123.4, 59.6},
         79,
         "Writing  [#########################.]   99%  0.1 kB/s  1:00 gone, 0:00 left"},
        {{"Writing", 1000, 4000000, 1000, 3599},
         200,
         "Writing  [..............................]    0%  1.0 kB/s  59:59 gone, 1:06:39 left"},
        // The percentages of an image that was loaded twice go beyond 100.
        {{"Writing", 300, 200, 11200, 5},
         59,
         "Writing  [######]  100%  11.2 kB/s  0:05 gone, 0:00 left"},
        {{"Writing", 100, 200, 11200, 5}, 50, "Writing   50%  11.2 kB/s  0:05 gone, 0:00 left"},
        {{"Writing", 100, 200, 11200, 5}, 20, "Writing   50%  11.2 "},
        {{"Writing", 100, 200, 11200, 5}, 0, ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(MakeStatusText(c.m_Progress, c.m_nColumns), c.m_szText);
    }
}

}  // namespace
