#include "chipsim/FaultRule.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace {

TEST(FaultRuleTest, ReadsKindTimeFaultAndValues) {
    struct CASE {
        const char* text;
        std::optional<ChipCommandKinds> kind;
        unsigned int first, last;
        std::optional<unsigned int> chance;
        ChipFaults fault;
        unsigned int values[2];
    };
    constexpr unsigned int NONE = FAULT_RULE::NOT_GIVEN;
    const CASE cases[] = {
        {"write:3:drop", CHIP_WRITE, 3, 3, {}, FAULT_DROP, {NONE, NONE}},
        {"any:every:late=0x10", {}, 1, NONE, {}, FAULT_LATE, {16, NONE}},
        {"crc:2-5:pieces", CHIP_CRC, 2, 5, {}, FAULT_PIECES, {3, 20}},
        {"read:7+:pieces=4", CHIP_READ, 7, NONE, {}, FAULT_PIECES, {4, 20}},
        {"reset:1:pieces=4,0", CHIP_RESET, 1, 1, {}, FAULT_PIECES, {4, 0}},
        {"minidriver:10%:flip", CHIP_MINIDRIVER, 1, NONE, 100'000, FAULT_FLIP, {NONE, NONE}},
        {"launch:0.01%:status", CHIP_LAUNCH, 1, NONE, 100, FAULT_STATUS, {0x0C, NONE}},
        {"erase:100%:flood", CHIP_ERASE, 1, NONE, 1'000'000, FAULT_FLOOD, {70'000, NONE}},
        {"resetntf:1:late=1", CHIP_RESET_NTF, 1, 1, {}, FAULT_LATE, {1, NONE}},
        {"other:1:baddata=3", CHIP_OTHER, 1, 1, {}, FAULT_BADDATA, {3, NONE}},
    };
    for (const CASE& c : cases) {
        FAULT_RULE rule;
        EXPECT_EQ(ParseFaultRule(c.text, rule), "");
        EXPECT_EQ(rule.text, c.text);
        EXPECT_EQ(rule.kind, c.kind) << c.text;
        EXPECT_EQ(rule.first, c.first) << c.text;
        EXPECT_EQ(rule.last, c.last) << c.text;
        EXPECT_EQ(rule.chance, c.chance) << c.text;
        EXPECT_EQ(rule.fault, c.fault) << c.text;
        EXPECT_EQ(rule.values[0], c.values[0]) << c.text;
        EXPECT_EQ(rule.values[1], c.values[1]) << c.text;
    }
}

TEST(FaultRuleTest, SaysWhatIsWrong) {
    struct CASE {
        const char* text;
        const char* error;
    };
    const CASE cases[] = {
        {"", "no such command ''"},
        {"Write:1:drop", "no such command 'Write'"},
        {"write", "'' is not N, N-M, N+, N% or every"},
        {"write:0:drop", "'0' is not N, N-M, N+, N% or every"},
        {"write:3-:drop", "'3-' is not N, N-M, N+, N% or every"},
        {"write:3-2:drop", "'3-2' is not N, N-M, N+, N% or every"},
        {"write:101%:drop", "'101%' is not N, N-M, N+, N% or every"},
        {"write:nan%:drop", "'nan%' is not N, N-M, N+, N% or every"},
        {"write:99999999999:drop", "'99999999999' is not N, N-M, N+, N% or every"},
        {"write:1", "no such fault ''"},
        {"write:1:frob=1", "no such fault 'frob'"},
        {"write:1:late", "'late' needs a value"},
        {"write:1:late=-1", "'-1' is no value for 'late'"},
        {"write:1:status=256", "'256' is no value for 'status'"},
        {"write:1:pieces=1", "'1' is no value for 'pieces'"},
        {"write:1:pieces=2,3,4", "'pieces' takes fewer values"},
        {"write:1:drop=1", "'drop' takes fewer values"},
    };
    for (const CASE& c : cases) {
        FAULT_RULE rule;
        EXPECT_EQ(ParseFaultRule(c.text, rule), std::string("fault '") + c.text + "': " + c.error);
    }
}

TEST(FaultRuleTest, AFileNamesTheLineThatIsWrong) {
    const std::string path = ::testing::TempDir() + "faults." + std::to_string(::getpid());
    std::ofstream(path) << "#comment\n\twrite:1:drop \r\n\nread:2:twice\nread:x:drop\n";
    std::vector<FAULT_RULE> rules;
    EXPECT_EQ(ReadFaultFile(path, rules),
              path + ":5: fault 'read:x:drop': 'x' is not N, N-M, N+, N% or every");
    ASSERT_EQ(rules.size(), 2U);
    EXPECT_EQ(rules[0].text, "write:1:drop");
    EXPECT_EQ(rules[1].fault, FAULT_TWICE);
    std::filesystem::remove(path);
    EXPECT_EQ(ReadFaultFile(path, rules), "cannot read " + path);
}

}  // namespace
