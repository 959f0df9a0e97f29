#include "corekit/intelhex/IntelHexBasics.h"

#include <gtest/gtest.h>

namespace {

TEST(IntelHexBasics, FieldsAreReadAsScanfReadsThem) {
    const struct {
        const char* line;
        unsigned short start, length;
        int value;  // -1: none
    } cases[] = {
        {":10ABCD00", 3, 4, 0xABCD},
        {":1f", 1, 2, 0x1F},
        {": 5", 1, 2, 0x5},
        {":\t\v\f7", 1, 4, 0x7},
        {":5 ", 1, 2, 0x5},
        {":1G", 1, 2, 0x1},
        {":-1", 1, 2, 0xFFFF},
        {":+A", 1, 2, 0xA},
        {":0x1F", 1, 4, 0x1F},
        {":0X1F", 1, 4, 0x1F},
        {":12345", 1, 5, 0x2345},
        {":12", 2, 4, 0x2},
        {":12", 3, 2, -1},
        {":12", 400, 2, -1},
        {":12", 1, 0, -1},
        {":  ", 1, 2, -1},
        {":G1", 1, 2, -1},
        {":- ", 1, 2, -1},
        {"", 0, 2, -1},
    };
    for (const auto& c : cases) {
        unsigned short value = 0xEEEE;
        EXPECT_EQ(CIntelHexBasics::ExtractHexField(c.line, c.start, c.length, &value), c.value >= 0)
            << c.line;
        EXPECT_EQ(value, c.value >= 0 ? c.value : 0xEEEE) << c.line;
    }
}

TEST(IntelHexBasics, LinesAreJudgedInOrder) {
    const struct {
        const char *line, *fault;  // no fault: acceptable
        const char* printed = nullptr;
    } cases[] = {
        {":00000001FF", ""},
        {":00000001ff", ""},
        {":02000000ABCD86 and more", ""},
        {":0200000 0ABC38", ""},
        {":01000000 5FA", ""},
        {":010000005GFA", ""},
        {":00000000-0", ""},
        {":000000010", "Line too short: "},
        {"", "Line too short: "},
        {"$", "Line too short: "},
        {"00000001FF:", "Unexpected starting character: "},
        {" :00000001FF", "Unexpected starting character: "},
        {":GG000001FF", "Failed to parse #data bytes: "},
        {":00GGGG01FF", "Failed to parse loading address: "},
        {":000000GGFF", "Failed to parse record type: "},
        {":0400000300003800C1", "Unrecognized record type: "},
        {":00000006FA", "Unrecognized record type: "},
        {":0300000055AA", "Failed to parse data value: ",
         "ValidateIntelHexLine: Failed to parse data value [2]: :0300000055AA\n"},
        {":-1000000AABBCC", "Failed to parse data value: ",
         "ValidateIntelHexLine: Failed to parse data value [3]: :-1000000AABBCC\n"},
        {":0200000055AA", "Failed to parse checksum: "},
        {":0100000055GG", "Failed to parse checksum: "},
        {":010000005500",
         "Checksum mismatch on line: ", "                      Computed AA   Parsed  0\n"},
        // A sign makes 16 bits, of which only the low eight count; a checksum needs all of them.
        {":01000000-100", ""},
        {":0100000001-2",
         "Checksum mismatch on line: ", "                      Computed FE   Parsed FFFE\n"},
    };
    for (const auto& c : cases) {
        std::string error = "old";
        bool skip = true;
        const bool isGood = *c.fault == '\0';
        const std::string message =
            isGood ? "" : std::string("ValidateIntelHexLine: ") + c.fault + c.line;
        testing::internal::CaptureStderr();
        EXPECT_EQ(CIntelHexBasics().ValidateIntelHexLine(c.line, 1, true, &error, &skip), isGood)
            << c.line;
        const std::string printed = testing::internal::GetCapturedStderr();
        EXPECT_EQ(error, message);
        EXPECT_FALSE(skip);
        EXPECT_TRUE(
            printed.ends_with(c.printed == nullptr ? message + (isGood ? "" : "\n") : c.printed))
            << printed;
    }
}

TEST(IntelHexBasics, AllowedLinesAreSkippedWhereTheyAreAllowed) {
    CIntelHexBasics basics;
    basics.AddAllowedText("$", 1);
    basics.AddAllowedText("; note", -1);
    EXPECT_TRUE(basics.IsLineToSkip("$", 1) && basics.IsLineToSkip("; note", 77));
    EXPECT_FALSE(basics.IsLineToSkip("$", 2) || basics.IsLineToSkip("$ ", 1));
    std::string error = "old";
    bool skip = false;
    EXPECT_TRUE(basics.ValidateIntelHexLine("; note", 3, false, &error, &skip));
    EXPECT_TRUE(skip);
    EXPECT_EQ(error, "");
}

}  // namespace
