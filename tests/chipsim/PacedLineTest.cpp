#include <gtest/gtest.h>

#include "chipsim/PacedInput.h"
#include "chipsim/PacedOutput.h"
#include "support/HexBytes.h"

namespace {

struct QUEUED_REPLY {
    double queuedMs;
    std::vector<CHIP_REPLY_PIECE> pieces;
    bool hangsUp = false;
};

// Lets the line run and notes what comes out when, to the hundredth of a millisecond.
std::string RunLine(unsigned int baud, std::vector<QUEUED_REPLY> replies, std::size_t room) {
    CPacedOutput output(baud);
    std::string text;
    LineTime now = 0;
    while (!replies.empty() || output.NextDue()) {
        const auto queued = replies.empty()
                                ? std::optional<LineTime>()
                                : static_cast<LineTime>(replies[0].queuedMs * NS_PER_MS);
        if (queued && (!output.NextDue() || *queued <= *output.NextDue())) {
            now = std::max(now, *queued);
            output.Queue({std::move(replies[0].pieces), replies[0].hangsUp}, now);
            replies.erase(replies.begin());
            continue;
        }
        now = std::max(now, *output.NextDue());
        char time[32];
        std::snprintf(time, sizeof time, "%s%.2f:", text.empty() ? "" : " ",
                      static_cast<double>(now) / NS_PER_MS);
        text += time;
        if (output.HangUpIsDue(now)) {
            return text + "hangs up";
        }
        const std::span<const unsigned char> bytes = output.Due(now);
        const std::size_t count = std::min(bytes.size(), room);
        text += ToHex({bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count)});
        output.Sent(count, now);
    }
    return text;
}

TEST(PacedLine, CarriesRepliesAtItsSpeedAndInOrder) {
    const Bytes two = {0xA1, 0xA2};
    const Bytes three = {0xB1, 0xB2, 0xB3};
    const struct {
        unsigned int baud;
        std::vector<QUEUED_REPLY> replies;
        const char* line;
        std::size_t room = 1000;
    } cases[] = {
        {0, {{0, {{0, two}}}, {0, {{5, three}}}}, "0.00:A1 A2 5.00:B1 B2 B3"},
        // 0.5 ms a byte: two with each step of a millisecond.
        {20000, {{0, {{0, three}}}}, "1.00:B1 B2 1.50:B3"},
        {20000, {{0, {{0, two}}}, {0, {{0, three}}}}, "1.00:A1 A2 2.00:B1 B2 2.50:B3"},
        // Slower than a step: byte by byte.
        {5000, {{0, {{0, three}}}}, "2.00:B1 4.00:B2 6.00:B3"},
        {20000, {{0, {{10, two}, {3, two}}}}, "11.00:A1 A2 15.00:A1 A2"},
        // A late reply is overtaken, one that has begun is not.
        {0, {{0, {{50, two}}}, {0, {{1, three}}}}, "1.00:B1 B2 B3 50.00:A1 A2"},
        {0,
         {{0, {{1, two}, {9, two}}}, {2, {{1, three}}}},
         "1.00:A1 A2 10.00:A1 A2 10.00:B1 B2 B3"},
        // Pieces without a pause between them are one.
        {0, {{0, {{1, two}, {0, three}, {2, two}}}}, "1.00:A1 A2 B1 B2 B3 3.00:A1 A2"},
        // A piece without bytes is only a pause; a reply without bytes is none.
        {0, {{0, {{4, {}}, {3, two}, {2, {}}}}, {0, {}}, {0, {{1, {}}}}}, "7.00:A1 A2"},
        // A reader that takes two bytes at a time.
        {0, {{0, {{0, three}, {1, two}}}}, "0.00:B1 B2 0.00:B3 1.00:A1 A2", 2},
        // The port hangs up once its last bytes can have been read.
        {0, {{0, {{2, two}}, true}}, "2.00:A1 A2 52.00:hangs up"},
        {0, {{0, {{2, {}}}, true}}, "2.00:hangs up"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(RunLine(c.baud, c.replies, c.room), c.line);
    }
}

TEST(PacedLine, ReadsBytesOnceTheyHaveArrived) {
    CPacedInput input(10000);  // 1 ms a byte
    EXPECT_TRUE(input.WantsBytes(0));
    input.Accept(FromHex("01 02 03"), 0);
    EXPECT_FALSE(input.WantsBytes(1 * NS_PER_MS));
    EXPECT_EQ(input.NextDue(0), 3 * NS_PER_MS);
    EXPECT_TRUE(input.TakeArrived(3 * NS_PER_MS - 1).empty());
    EXPECT_EQ(ToHex(input.TakeArrived(3 * NS_PER_MS)), "01 02 03");
    EXPECT_EQ(input.NextDue(3 * NS_PER_MS), std::nullopt);
    input.PauseUntil(10 * NS_PER_MS);
    EXPECT_FALSE(input.WantsBytes(9 * NS_PER_MS));
    EXPECT_EQ(input.NextDue(9 * NS_PER_MS), 10 * NS_PER_MS);
    EXPECT_TRUE(input.WantsBytes(10 * NS_PER_MS));
}

}  // namespace
