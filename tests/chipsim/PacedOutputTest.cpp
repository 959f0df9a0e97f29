#include "chipsim/PacedOutput.h"

#include <gtest/gtest.h>

#include "chipsim/ChipReplies.h"
#include "chipsim/PacedInput.h"

namespace {

// Lets the line run and notes what comes out when, to the hundredth of a millisecond.
std::string RunLine(CPacedOutput& output, LineTime now, std::size_t room = 1000) {
    std::string text;
    while (const std::optional<LineTime> due = output.NextDue()) {
        now = std::max(now, *due);
        const std::span<const unsigned char> bytes = output.Due(now);
        const std::size_t count = std::min(bytes.size(), room);
        char line[64];
        std::snprintf(line, sizeof line, "%.2f:", static_cast<double>(now) / NS_PER_MS);
        text += text.empty() ? line : std::string(" ") + line;
        text += ToHex({bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count)});
        output.Sent(count, now);
    }
    return text;
}

CHIP_REPLY Reply(std::vector<CHIP_REPLY_PIECE> pieces) {
    return CHIP_REPLY{std::move(pieces)};
}

TEST(PacedOutputTest, BytesComeWhenALineOfThatSpeedWouldHaveCarriedThem) {
    struct CASE {
        unsigned int baud;
        std::vector<CHIP_REPLY> replies;
        const char* line;
    };
    const Bytes two = FromHex("A1 A2");
    const Bytes three = FromHex("B1 B2 B3");
    const CASE cases[] = {
        {0, {Reply({{0, two}}), Reply({{5, three}})}, "0.00:A1 A2 5.00:B1 B2 B3"},
        // 0.5 ms a byte: two go out with each step of a millisecond.
        {20000, {Reply({{0, three}})}, "1.00:B1 B2 1.50:B3"},
        {20000, {Reply({{0, two}}), Reply({{0, three}})}, "1.00:A1 A2 2.00:B1 B2 2.50:B3"},
        // Slower than a step: byte by byte.
        {5000, {Reply({{0, three}})}, "2.00:B1 4.00:B2 6.00:B3"},
        {20000, {Reply({{10, two}, {3, two}})}, "11.00:A1 A2 15.00:A1 A2"},
        // A late reply is overtaken, one that has begun is not.
        {0, {Reply({{50, two}}), Reply({{1, three}})}, "1.00:B1 B2 B3 50.00:A1 A2"},
        {0,
         {Reply({{0, two}, {9, two}}), Reply({{1, three}})},
         "0.00:A1 A2 9.00:A1 A2 9.00:B1 B2 B3"},
        // A piece without bytes is a mere pause; a reply without bytes is none.
        {0, {Reply({{4, {}}, {3, two}, {2, {}}}), Reply({}), Reply({{1, {}}})}, "7.00:A1 A2"},
    };
    for (const CASE& c : cases) {
        CPacedOutput output(c.baud);
        for (const CHIP_REPLY& reply : c.replies) {
            output.Queue(reply, 0);
        }
        EXPECT_EQ(RunLine(output, 0), c.line);
    }
}

TEST(PacedOutputTest, NothingIsLostWhenTheReaderTakesLittleAtATime) {
    CPacedOutput output(0);
    output.Queue(Reply({{0, FromHex("01 02 03 04 05")}, {1, FromHex("06 07")}}), 0);
    EXPECT_EQ(RunLine(output, 0, 2), "0.00:01 02 0.00:03 04 0.00:05 1.00:06 07");
}

TEST(PacedInputTest, BytesArriveWhenTheLineHasCarriedThem) {
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

TEST(PacedOutputTest, APortHangsUpBehindTheBytesOnceTheyCanHaveBeenRead) {
    for (const bool withBytes : {false, true}) {
        CPacedOutput output(0);
        CHIP_REPLY reply = Reply({{2, withBytes ? FromHex("01 02") : FromHex("")}});
        reply.hangsUp = true;
        output.Queue(reply, 0);
        EXPECT_FALSE(output.HangUpIsDue(2 * NS_PER_MS - 1));
        const std::span<const unsigned char> due = output.Due(2 * NS_PER_MS);
        EXPECT_EQ(due.size(), withBytes ? 2U : 0U);
        if (withBytes) {
            output.Sent(due.size(), 2 * NS_PER_MS);
        }
        EXPECT_NE(output.HangUpIsDue(2 * NS_PER_MS), withBytes);
        ASSERT_TRUE(output.NextDue());
        EXPECT_TRUE(output.HangUpIsDue(*output.NextDue()));
        EXPECT_TRUE(output.Due(*output.NextDue()).empty());
    }
}

}  // namespace
