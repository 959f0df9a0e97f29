#include "chipsim/ChipEngine.h"

#include <gtest/gtest.h>

#include "chipsim/ChipReplies.h"

namespace {

CHIP_SETTINGS QuickErase() {
    CHIP_SETTINGS settings;
    settings.eraseTimeMs = 100;
    settings.eraseMarkers = 2;
    return settings;
}

TEST(ChipEngineTest, AnswersEachCommandAsTheChipDoes) {
    struct CASE {
        const char* sent;
        const char* answer;
        const char* trace;
    };
    // One after the other on one chip: what is written is read, summed and erased.
    const CASE cases[] = {
        {"01 03 0C 00", "04 0E 04 01 03 0C 00", "HCI Reset            length 0"},
        {"01 2E FC 00", "04 0E 04 01 2E FC 00", "Download Minidriver  length 0"},
        {"01 4C FC 07 00 10 00 00 AA BB CC", "04 0E 04 01 4C FC 00",
         "Write RAM            address 0x00001000  length 3"},
        {"01 4C FC 05 00 00 20 00 77", "04 0E 04 01 4C FC 00",
         "Write RAM            address 0x00200000  length 1"},
        {"01 4C FC 04 00 10 00 00", "04 0E 04 01 4C FC 00",
         "Write RAM            address 0x00001000  length 0"},
        {"01 4C FC 03 00 10 00", "04 0E 04 01 4C FC 12",
         "Write RAM            address 0x00000000  length 3  status 0x12"},
        {"01 4D FC 05 FF 0F 00 00 05", "04 0E 09 01 4D FC 00 FF AA BB CC FF",
         "Read RAM             address 0x00000FFF  length 5"},
        {"01 4D FC 05 00 10 00 00 00", "04 0E 04 01 4D FC 00",
         "Read RAM             address 0x00001000  length 0"},
        {"01 4D FC 05 00 10 00 00 FC", "04 0E 04 01 4D FC 12",
         "Read RAM             address 0x00001000  length 252  status 0x12"},
        {"01 CC FC 08 00 10 00 00 03 00 00 00", "04 0E 08 01 CC FC 00 4C F8 4D BE",
         "CRC request          address 0x00001000  length 3"},
        {"01 CC FC 08 00 10 00 00 01 00 00 10", "04 0E 04 01 CC FC 12",
         "CRC request          address 0x00001000  length 268435457  status 0x12"},
        {"01 CE FF 04 00 00 00 00", "04 0E 04 01 CE FF 12",
         "Chip erase           length 4  status 0x12"},
        {"01 4D FC 05 00 10 00 00 01", "04 0E 05 01 4D FC 00 AA",
         "Read RAM             address 0x00001000  length 1"},
        {"01 CE FF 04 EF EE BE FC",
         "+33ms 04 FF 01 CE +33ms 04 FF 01 CE +34ms 04 0E 04 01 CE FF 00",
         "Chip erase           length 4"},
        {"01 CE FF 04 00 00 00 FF",
         "+33ms 04 FF 01 CE +33ms 04 FF 01 CE +34ms 04 0E 04 01 CE FF 00",
         "Chip erase           length 4"},
        {"01 4D FC 05 00 10 00 00 03", "04 0E 07 01 4D FC 00 FF FF FF",
         "Read RAM             address 0x00001000  length 3"},
        {"01 4D FC 05 00 00 20 00 01", "04 0E 05 01 4D FC 00 77",
         "Read RAM             address 0x00200000  length 1"},
        {"01 4E FC 04 FF FF FF FF", "04 0E 04 01 4E FC 00",
         "Launch RAM           address 0xFFFFFFFF  length 0"},
        {"01 34 12 02 01 02", "04 0E 04 01 34 12 01",
         "Unknown command      bytes 01 34 12  length 2  status 0x01"},
    };
    CChipEngine engine(QuickErase());
    for (const CASE& c : cases) {
        EXPECT_EQ(Answers(engine, c.sent), c.answer) << c.sent;
        EXPECT_EQ(DescribeChipCommand(engine.Commands().back()), c.trace);
        EXPECT_EQ(ToHex(engine.Commands().back().packet), c.sent);
    }
}

TEST(ChipEngineTest, TheReadAndWrittenBytesSurviveAtTheLargestSizes) {
    CChipEngine engine(QuickErase());
    Bytes command = FromHex("01 4C FC FF 00 00 00 00");
    Bytes answer = FromHex("04 0E FF 01 4D FC 00");
    for (unsigned int i = 0; i < 251; ++i) {
        command.push_back(static_cast<unsigned char>(i ^ 0x5A));
        answer.push_back(static_cast<unsigned char>(i ^ 0x5A));
    }
    EXPECT_EQ(ReplyText(engine.Receive(command).at(0)), "04 0E 04 01 4C FC 00");
    EXPECT_EQ(Answers(engine, "01 4D FC 05 00 00 00 00 FB"), ToHex(answer));
}

TEST(ChipEngineTest, FindsPacketsInPiecesInARowAndBehindNoise) {
    struct CASE {
        const char* first;
        const char* rest;
        const char* answer;
    };
    const CASE cases[] = {
        {"01", "03 0C 00", "04 0E 04 01 03 0C 00"},
        {"01 4C FC 05 00 10 00", "00 AA", "04 0E 04 01 4C FC 00"},
        {"", "01 03 0C 00 01 2E FC 00", "04 0E 04 01 03 0C 00 | 04 0E 04 01 2E FC 00"},
        {"FF 00 04 0E 55", "01 03 0C 00", "04 0E 04 01 03 0C 00"},
    };
    for (const CASE& c : cases) {
        CChipEngine engine(QuickErase());
        EXPECT_EQ(Answers(engine, c.first), "");
        EXPECT_EQ(Answers(engine, c.rest), c.answer) << c.first;
        EXPECT_FALSE(engine.IsMidPacket());
    }
}

TEST(ChipEngineTest, APacketThatWasCutIsGivenUpWhenTheLineGoesQuiet) {
    CChipEngine engine(QuickErase());
    EXPECT_EQ(Answers(engine, "01 4C FC 20 00 10 00 00 AA"), "");
    EXPECT_TRUE(engine.IsMidPacket());
    engine.LineWentQuiet();
    EXPECT_EQ(Answers(engine, "01 03 0C 00"), "04 0E 04 01 03 0C 00");
    EXPECT_TRUE(engine.Memory().WrittenRegions().empty());
}

}  // namespace
