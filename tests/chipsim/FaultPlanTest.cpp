#include "chipsim/FaultPlan.h"

#include <gtest/gtest.h>

#include "chipsim/ChipEngine.h"
#include "chipsim/ChipReplies.h"

namespace {

constexpr const char* RESET = "01 03 0C 00";
constexpr const char* READ = "01 4D FC 05 00 10 00 00 03";
constexpr const char* SUM = "01 CC FC 08 00 10 00 00 00 00 00 00";
constexpr const char* ERASE = "01 CE FF 04 EF EE BE FC";

CHIP_SETTINGS With(const std::vector<std::string>& faults, unsigned int seed = 1) {
    CHIP_SETTINGS settings = WithFaults(faults);
    settings.eraseTimeMs = 40;
    settings.eraseMarkers = 1;
    settings.seed = seed;
    return settings;
}

std::string Answers(const CHIP_SETTINGS& settings, const std::vector<std::string>& commands) {
    CChipEngine engine(settings);
    std::string text;
    for (const std::string& command : commands) {
        text += (text.empty() ? "" : " | ") + Answers(engine, command);
    }
    return text;
}

TEST(FaultPlanTest, SpoilsTheReplyAsTheRuleSays) {
    struct CASE {
        const char* fault;
        const char* command;
        const char* answer;
    };
    const CASE cases[] = {
        {"any:1:drop", RESET, ""},
        {"any:1:late=70", RESET, "+70ms 04 0E 04 01 03 0C 00"},
        {"any:1:late=70", ERASE, "+90ms 04 FF 01 CE +20ms 04 0E 04 01 CE FF 00"},
        {"any:1:pieces", RESET, "04 0E +20ms 04 01 +20ms 03 0C 00"},
        {"any:1:pieces=100,1", RESET, "04 +1ms 0E +1ms 04 +1ms 01 +1ms 03 +1ms 0C +1ms 00"},
        {"any:1:pieces=2,5", ERASE, "+20ms 04 FF 01 CE +20ms 04 0E 04 +5ms 01 CE FF 00"},
        {"any:1:twice", RESET, "04 0E 04 01 03 0C 00 04 0E 04 01 03 0C 00"},
        {"any:1:flip=0", RESET, "05 0E 04 01 03 0C 00"},
        {"any:1:flip=55", RESET, "04 0E 04 01 03 0C 80"},
        {"any:1:event", RESET, "04 0F 04 00 01 00 00 04 0E 04 01 03 0C 00"},
        {"any:1:event=2", RESET, "04 0F 04 00 01 00 00 04 0F 04 00 01 00 00 04 0E 04 01 03 0C 00"},
        {"any:1:status", RESET, "04 0E 04 01 03 0C 0C"},
        {"any:1:status=0x1F", READ, "04 0E 07 01 4D FC 1F FF FF FF"},
        {"any:1:cut", RESET, "04 0E 04"},
        {"any:1:cut=6", RESET, "04 0E 04 01 03 0C"},
        {"any:1:cut=99", RESET, "04 0E 04 01 03 0C 00"},
        {"any:1:hangup", RESET, "hangs up"},
        {"any:1:hangup=5", ERASE, "+20ms 04 FF 01 CE +20ms 04 hangs up"},
        {"any:1:slow=30", RESET, "04 0E 04 01 03 0C 00 reads nothing for 30ms"},
        {"any:1:baddata", READ, "04 0E 07 01 4D FC 00 00 FF FF"},
        {"any:1:baddata=2", READ, "04 0E 07 01 4D FC 00 FF FF 00"},
        {"any:1:baddata=9", READ, "04 0E 07 01 4D FC 00 FF FF 00"},
        {"any:1:baddata", RESET, "04 0E 04 01 03 0C 00"},
        {"any:1:badcrc", SUM, "04 0E 08 01 CC FC 00 01 00 00 00"},
        {"any:1:badcrc", RESET, "04 0E 04 01 03 0C 00"},
    };
    for (const CASE& c : cases) {
        EXPECT_EQ(Answers(With({c.fault}), {c.command}), c.answer) << c.fault;
    }
}

TEST(FaultPlanTest, CountsTheCommandsOfTheRulesKind) {
    struct CASE {
        std::vector<std::string> faults;
        const char* answers;
    };
    const char* const good = "04 0E 04 01 03 0C 00";
    const std::string other = " | 04 0E 07 01 4D FC 00 FF FF FF";
    const CASE cases[] = {
        {{"reset:2:cut=1"}, "04 0E 04 01 03 0C 00 | 04 0E 07 01 4D FC 00 FF FF FF | 04"},
        {{"any:2:cut=1"}, "04 0E 04 01 03 0C 00 | 04 | 04 0E 04 01 03 0C 00"},
        {{"any:2+:cut=1"}, "04 0E 04 01 03 0C 00 | 04 | 04"},
        {{"any:1-2:cut=2"}, "04 0E | 04 0E | 04 0E 04 01 03 0C 00"},
        {{"reset:every:cut=1"}, "04 | 04 0E 07 01 4D FC 00 FF FF FF | 04"},
        {{"any:2:silence"}, "04 0E 04 01 03 0C 00 |  | "},
        {{"reset:1:late=5", "any:1:cut=1"},
         "+5ms 04 | 04 0E 07 01 4D FC 00 FF FF FF | 04 0E 04 01 03 0C 00"},
    };
    for (const CASE& c : cases) {
        EXPECT_EQ(Answers(With(c.faults), {RESET, READ, RESET}), c.answers) << c.faults[0];
    }
    EXPECT_EQ(Answers(With({"write:1:drop"}), {RESET, READ}), good + other);
}

TEST(FaultPlanTest, NoiseAndFloodSurroundTheReply) {
    struct CASE {
        const char* fault;
        std::size_t before, after;
    };
    for (const CASE& c : {CASE{"reset:1:noise-before", 4, 0}, CASE{"reset:1:noise-after=9", 0, 9},
                          CASE{"reset:1:flood", 70'000, 0}}) {
        CChipEngine engine(With({c.fault}));
        const std::vector<CHIP_REPLY> replies = engine.Receive(FromHex(RESET));
        Bytes sent = replies.at(0).pieces.at(0).bytes;
        ASSERT_EQ(sent.size(), c.before + 7 + c.after);
        sent.erase(sent.begin(), sent.begin() + static_cast<std::ptrdiff_t>(c.before));
        sent.resize(7);
        EXPECT_EQ(ToHex(sent), "04 0E 04 01 03 0C 00");
    }
}

TEST(FaultPlanTest, ChanceFollowsTheSeed) {
    const std::vector<std::string> commands(1000, RESET);
    const auto drops = [&](unsigned int seed) {
        CChipEngine engine(With({"any:10%:drop"}, seed));
        std::string pattern;
        for (const std::string& command : commands) {
            pattern += ReplyText(engine.Receive(FromHex(command)).at(0)).empty() ? 'x' : '.';
        }
        return pattern;
    };
    const std::string first = drops(1);
    EXPECT_EQ(drops(1), first);
    EXPECT_NE(drops(2), first);
    const auto count = std::count(first.begin(), first.end(), 'x');
    EXPECT_GT(count, 50);
    EXPECT_LT(count, 150);
    EXPECT_EQ(Answers(With({"any:0%:drop", "any:100%:late=1"}), {RESET}),
              "+1ms 04 0E 04 01 03 0C 00");
}

TEST(FaultPlanTest, TheCommandIsCarriedOutWhateverBefallsItsReply) {
    CChipEngine engine(With({"write:1:drop", "any:every:status=1"}));
    engine.Receive(FromHex("01 4C FC 05 00 10 00 00 AA"));
    EXPECT_EQ(engine.Memory().WrittenRegions().size(), 1U);
    EXPECT_EQ(DescribeChipCommand(engine.Commands().at(0)),
              "Write RAM            address 0x00001000  length 1  fault write:1:drop  fault "
              "any:every:status=1");
}

}  // namespace
