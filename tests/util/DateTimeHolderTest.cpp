#include "util/DateTimeHolder.h"

#include <gtest/gtest.h>

namespace {

TEST(DateTimeHolder, PrintsTheDateOnlyWithAYear) {
    EXPECT_EQ(CDateTimeHolder(dth{2024, 2, 9, 7, 5, 3, 4}).AsText(), "2024-02-09@07:05:03.004");
    EXPECT_EQ(CDateTimeHolder(dth{0, 2, 9, 7, 5, 3, 45}).AsText(), "07:05:03.045");
    EXPECT_EQ(CDateTimeHolder(dth{65535, 255, 255, 255, 255, 255, 65535}).AsText(),
              "65535-255-255@255:255:255.65535");
}

TEST(DateTimeHolder, PacksInOrderOfTime) {
    const CDateTimeHolder time(dth{2024, 12, 31, 23, 58, 59, 999});
    EXPECT_EQ(time.GetPackedDateTime(), 0x07E80C1F173A3BULL);
    const CDateTimeHolder unpacked(time.GetPackedDateTime(), time.GetMilliseconds());
    EXPECT_EQ(unpacked.AsText(), "2024-12-31@23:58:59.999");
}

TEST(DateTimeHolder, ReadsTheFullFormAndNothingLess) {
    const struct {
        const char* text;
        const char* expected;
    } cases[] = {
        {"2024-02-09@17:05:03.004", "2024-02-09@17:05:03.004"},
        {"2024-2-9@7:5:3.4", "2024-02-09@07:05:03.004"},
        {"2024-02-09@17:05:03.004\n", "2024-02-09@17:05:03.004"},
        {" 2024- 2-09@17: 5:03.  4", "2024-02-09@17:05:03.004"},
        {"-024-02-09@17:05:03.004", "00:00:00.000"},
        {"2024--2-09@17:05:03.004", "00:00:00.000"},
        {"17:05:03.004", "00:00:00.000"},
        {"2024-02-09@17:05:03.", "00:00:00.000"},
        {"2024-02-09 17:05:03.004", "00:00:00.000"},
        {"99999-02-09@17:05:03.004", "00:00:00.000"},
        {"2024", "00:00:00.000"},
        {"", "00:00:00.000"},
        {nullptr, "00:00:00.000"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(CDateTimeHolder(c.text).AsText(), c.expected) << (c.text ? c.text : "(null)");
    }
}

}  // namespace
