#include "chipsim/NciChip.h"

#include <gtest/gtest.h>

#include "chipsim/ChipEngine.h"
#include "chipsim/ChipReplies.h"

namespace {

constexpr const char* ACKNOWLEDGED = "10 4F 2E 01 00";
constexpr const char* SIGNED = "10 4F 2E 01 00 10 6F 2E 01 00";
constexpr const char* SIGNATURE = "10 2F 2E 02 06 99";

TEST(NciChipTest, AnswersEachPacketAsTheChipDoes) {
    struct CASE {
        const char* sent;
        const char* answer;
        const char* trace;
    };
    const CASE cases[] = {
        {"10 2F 2E 03 00 01 10", ACKNOWLEDGED, "Patch record         length 3"},
        {"10 2F 2E 01 05", ACKNOWLEDGED, "Patch record         length 1"},
        {SIGNATURE, SIGNED, "Signature record     length 2"},
        {"10 2F 2E 00", "10 4F 2E 01 09", "Patch record         length 0  status 0x09"},
        {"10 2F 23 01 00", "10 4F 23 01 00", "Set secure mode      length 1"},
        {"10 2F 23 00", "10 4F 23 01 09", "Set secure mode      length 0  status 0x09"},
        {"10 20 00 01 00", "10 40 00 01 01",
         "Unknown command      bytes 10 20 00  length 1  status 0x01"},
        {"10 60 00 02 00 01", "", "Unknown command      bytes 10 60 00  length 2"},
        {"10 3F 2E 02 01 02 10 2F 2E 01 03", ACKNOWLEDGED,
         "Patch record         length 3  segments 2"},
        {"10 3F 2E 01 06 10 3F 2E 01 00 10 2F 2E 01 00", SIGNED,
         "Signature record     length 3  segments 3"},
        {"10 3F 2E 01 01 10 2F 2E 00", ACKNOWLEDGED, "Patch record         length 1  segments 2"},
    };
    for (const CASE& c : cases) {
        CChipEngine engine({});
        EXPECT_EQ(Answers(engine, c.sent), c.answer) << c.sent;
        ASSERT_EQ(engine.Commands().size(), 1U) << c.sent;
        EXPECT_EQ(DescribeChipCommand(engine.Commands()[0]), c.trace);
    }
}

TEST(NciChipTest, KeepsTheRecordsAsTheyStandInTheirFile) {
    CChipEngine engine({});
    EXPECT_EQ(Answers(engine, "10 2F 2E 03 00 01 10"), ACKNOWLEDGED);
    EXPECT_EQ(Answers(engine, "10 3F 2E 02 01 02"), "");
    EXPECT_EQ(Answers(engine, "01 03 0C 00"), "04 0E 04 01 03 0C 00");
    EXPECT_EQ(Answers(engine, "10 2F 2E 01 03"), ACKNOWLEDGED);
    EXPECT_EQ(Answers(engine, "10 2F 2E 00"), "10 4F 2E 01 09");
    EXPECT_EQ(Answers(engine, SIGNATURE), SIGNED);
    std::string text;
    for (const CHIP_RECORD& record : engine.Records()) {
        text += ToHex(record.bytes) + " in " + std::to_string(record.segments) + "\n";
    }
    EXPECT_EQ(text,
              "10 2F 2E 03 00 01 10 in 1\n"
              "10 2F 2E 03 01 02 03 in 2\n"
              "10 2F 2E 02 06 99 in 1\n");
}

TEST(NciChipTest, ARecordWithoutEndIsRefusedAndForgotten) {
    CChipEngine engine({});
    Bytes segment = FromHex("10 3F 2E FF");
    segment.resize(4 + 255);
    std::string answer;
    for (int count = 0; count < 1000 && answer.empty(); ++count) {
        answer = Answers(engine, ToHex(segment));
    }
    EXPECT_EQ(answer, "10 4F 2E 01 0A");
    EXPECT_TRUE(engine.Records().empty());
    EXPECT_EQ(Answers(engine, SIGNATURE), SIGNED);
}

TEST(NciChipTest, AResetNotificationFollowsTheSignature) {
    struct CASE {
        std::vector<std::string> faults;
        const char* answer;
    };
    const CASE cases[] = {
        {{}, "10 4F 2E 01 00 10 6F 2E 01 00 | +30ms 10 60 00 02 00 01"},
        {{"signature:1:late=50"}, "+50ms 10 4F 2E 01 00 10 6F 2E 01 00 | +80ms 10 60 00 02 00 01"},
        {{"signature:1:pieces=2,5"},
         "10 4F 2E 01 00 +5ms 10 6F 2E 01 00 | +35ms 10 60 00 02 00 01"},
        {{"resetntf:1:drop"}, "10 4F 2E 01 00 10 6F 2E 01 00 | "},
        {{"any:every:drop"}, " | +30ms 10 60 00 02 00 01"},
        {{"signature:1:silence"}, " | "},
        {{"resetntf:1:twice", "signature:1:event=2"},
         "10 60 07 01 00 10 60 07 01 00 10 4F 2E 01 00 10 6F 2E 01 00 | "
         "+30ms 10 60 00 02 00 01 10 60 00 02 00 01"},
        {{"signature:1:status=3"}, "10 4F 2E 01 03 10 6F 2E 01 00 | +30ms 10 60 00 02 00 01"},
    };
    for (const CASE& c : cases) {
        CHIP_SETTINGS settings = WithFaults(c.faults);
        settings.sendsResetNtf = true;
        settings.resetNtfDelayMs = 30;
        CChipEngine engine(settings);
        const std::vector<CHIP_REPLY> replies = engine.Receive(FromHex(SIGNATURE));
        ASSERT_EQ(replies.size(), 2U);
        EXPECT_EQ(ReplyText(replies[0]) + " | " + ReplyText(replies[1]), c.answer);
    }
}

}  // namespace
