#include "corekit/intelhex/IntelHexBasics.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(IntelHexBasics, ExtractHexFieldReadsAsScanfDoes) {
    const struct {
        const char* line;
        unsigned short start, length;
        bool ok;
        unsigned short value;
    } cases[] = {
        {":10ABCD00", 3, 4, true, 0xABCD}, {":1f", 1, 2, true, 0x1F},
        {": 5", 1, 2, true, 0x5},        // white space in front
        {":\t\v\f7", 1, 4, true, 0x7},   //
        {":5 ", 1, 2, true, 0x5},        // digits end early
        {":1G", 1, 2, true, 0x1},        //
        {":-1", 1, 2, true, 0xFFFF},     // signs, modulo 16 bits
        {":+A", 1, 2, true, 0xA},        //
        {":0x1F", 1, 4, true, 0x1F},     // prefix
        {":0X1F", 1, 4, true, 0x1F},     //
        {":12345", 1, 5, true, 0x2345},  // wrap
        {":12", 2, 4, true, 0x2},        // the line ends inside the field
        {":12", 3, 2, false, 0},         // or in front of it
        {":12", 400, 2, false, 0},         {":12", 1, 0, false, 0},
        {":  ", 1, 2, false, 0},           {":G1", 1, 2, false, 0},
        {":- ", 1, 2, false, 0},           {"", 0, 2, false, 0},
    };
    for (const auto& c : cases) {
        unsigned short value = 0xEEEE;
        EXPECT_EQ(CIntelHexBasics::ExtractHexField(c.line, c.start, c.length, &value), c.ok)
            << c.line;
        EXPECT_EQ(value, c.ok ? c.value : 0xEEEE) << c.line;
    }
}

TEST(IntelHexBasics, ChecksumIsTheTwosComplementOfTheLowByte) {
    const unsigned short data[] = {0x21, 0x46, 0x01, 0x36, 0x01, 0x21, 0x47, 0x01,
                                   0x36, 0x00, 0x7E, 0xFE, 0x09, 0xD2, 0x19, 0x01};
    EXPECT_EQ(CIntelHexBasics::ComputeChecksum(16, 0x0100, 0, data), 0x40);
    EXPECT_EQ(CIntelHexBasics::ComputeChecksum(0, 0, 0, nullptr), 0);
    EXPECT_EQ(CIntelHexBasics::ComputeChecksum(0, 0, 1, nullptr), 0xFF);
}

TEST(IntelHexBasics, LinesAreJudgedInOrder) {
    const struct {
        const char* line;
        const char* fault;  // null: acceptable
        const char* printed = nullptr;
    } cases[] = {
        {":00000001FF", nullptr},
        {":00000001ff", nullptr},
        {":02000000ABCD86", nullptr},
        {":02000000ABCD86 and more", nullptr},
        {":0200000 0ABC38", nullptr},
        {":0100000055AA", nullptr},
        {":0100000005FA", nullptr},
        {":01000000 5FA", nullptr},
        {":010000005GFA", nullptr},
        {":00000000-0", nullptr},
        {":0000000100",
         "Checksum mismatch on line: ", "                      Computed FF   Parsed  0\n"},
        {":0000000", "Line too short: "},
        {":000000010", "Line too short: "},
        {"", "Line too short: "},
        {"$", "Line too short: "},
        {"00000001FF:", "Unexpected starting character: "},
        {" :00000001FF", "Unexpected starting character: "},
        {":GG000001FF", "Failed to parse #data bytes: "},
        {":00GGGG01FF", "Failed to parse loading address: "},
        {":000000GGFF", "Failed to parse record type: "},
        // Type 3, the start segment address, is refused on purpose.
        {":0400000300003800C1", "Unrecognized record type: "},
        {":00000006FA", "Unrecognized record type: "},
        {":0300000055AA", "Failed to parse data value: ",
         "ValidateIntelHexLine: Failed to parse data value [2]: :0300000055AA\n"},
        {":02000000GG55AA", "Failed to parse data value: ",
         "ValidateIntelHexLine: Failed to parse data value [0]: :02000000GG55AA\n"},
        {":-1000000AABBCC", "Failed to parse data value: ",
         "ValidateIntelHexLine: Failed to parse data value [3]: :-1000000AABBCC\n"},
        {":0200000055AA", "Failed to parse checksum: "},
        {":0100000055GG", "Failed to parse checksum: "},
        {":010000005500",
         "Checksum mismatch on line: ", "                      Computed AA   Parsed  0\n"},
        // A sign makes 16 bits, of which only the low eight count; a checksum needs all of them.
        {":01000000-100", nullptr},
        {":01000000FF-0", nullptr},
        {":0100000001-2", "Checksum mismatch on line: "},
    };
    const CIntelHexBasics basics;
    for (const auto& c : cases) {
        std::string error = "old";
        bool skip = true;
        const std::string message =
            c.fault == nullptr ? "" : std::string("ValidateIntelHexLine: ") + c.fault + c.line;
        testing::internal::CaptureStderr();
        EXPECT_EQ(basics.ValidateIntelHexLine(c.line, 1, true, &error, &skip), c.fault == nullptr)
            << c.line;
        const std::string printed = testing::internal::GetCapturedStderr();
        EXPECT_EQ(error, message);
        EXPECT_FALSE(skip);
        if (c.printed != nullptr) {
            EXPECT_NE(printed.find(c.printed), std::string::npos) << printed;
        } else if (c.fault != nullptr) {
            EXPECT_EQ(printed.substr(0, printed.find('\n')), message);
        } else {
            EXPECT_EQ(printed, "");
        }
    }
}

TEST(IntelHexBasics, AllowedLinesAreSkippedWhereTheyAreAllowed) {
    CIntelHexBasics basics;
    basics.AddAllowedText("$", 1);
    basics.AddAllowedText("; note", -1);
    EXPECT_TRUE(basics.IsLineToSkip("$", 1));
    EXPECT_FALSE(basics.IsLineToSkip("$", 2));
    EXPECT_FALSE(basics.IsLineToSkip("$ ", 1));
    EXPECT_TRUE(basics.IsLineToSkip("; note", 1));
    EXPECT_TRUE(basics.IsLineToSkip("; note", 77));
    std::string error = "old";
    bool skip = false;
    EXPECT_TRUE(basics.ValidateIntelHexLine("; note", 3, false, &error, &skip));
    EXPECT_TRUE(skip);
    EXPECT_EQ(error, "");
}

}  // namespace
