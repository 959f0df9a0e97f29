#include "corekit/intelhex/IntelHexReader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/HexRecord.h"
#include "support/TempFile.h"

namespace {

using Bytes = std::vector<unsigned char>;

struct DataRecord {
    unsigned int address;
    Bytes data;
    bool operator==(const DataRecord&) const = default;
};

struct ReadResult {
    std::vector<DataRecord> records;
    std::string error;
};

ReadResult ReadOn(CIntelHexReader& reader) {
    ReadResult result;
    unsigned int address = 0;
    Bytes data;
    while (reader.GetMoreInput(&address, data, &result.error)) {
        if (!data.empty()) {
            result.records.push_back({address, data});
        }
    }
    return result;
}

ReadResult ReadAll(const std::string& text) {
    const CTempFile file(text);
    CIntelHexReader reader;
    std::string error = reader.OpenDataFile(file.Name());
    if (!error.empty()) {
        return {{}, std::move(error)};
    }
    return ReadOn(reader);
}

const std::string LINEAR_8000 = HexRecord(4, 0, {0x80, 0x00});

TEST(IntelHexReader, BaseAddresses) {
    const std::string data = HexRecord(0, 0xFFFF, {1});
    const struct {
        const char* name;
        std::string text;
        unsigned int address;
    } cases[] = {
        {"none", "", 0xFFFF},
        {"linear", LINEAR_8000, 0x8000FFFF},
        {"segment", HexRecord(2, 0, {0xF0, 0x01}), 0x0010000F},
        {"last one counts", LINEAR_8000 + HexRecord(2, 0, {0x10, 0x00}), 0x1FFFF},
        // A start address record moves the data that follow it: kept so on purpose.
        {"start linear", HexRecord(5, 0, {0x12, 0x34, 0x56, 0x78}), 0x12355677},
        {"start linear wraps", HexRecord(5, 0, {0xFF, 0xFF, 0xFF, 0xFF}), 0x0000FFFE},
        {"start linear and back", HexRecord(5, 0, {1, 2, 3, 4}) + LINEAR_8000, 0x8000FFFF},
        // Missing bytes of an address record count as zero.
        {"no byte", LINEAR_8000 + HexRecord(4, 0, {}), 0xFFFF},
        {"one byte", HexRecord(4, 0, {0x12}), 0x1200FFFF},
        {"three bytes", HexRecord(5, 0, {1, 2, 3}), 0x010302FF},
    };
    for (const auto& c : cases) {
        const ReadResult result = ReadAll(c.text + data + HEX_END_RECORD);
        EXPECT_EQ(result.error, "") << c.name;
        ASSERT_EQ(result.records.size(), 1U) << c.name;
        EXPECT_EQ(result.records[0].address, c.address) << c.name;
    }
}

TEST(IntelHexReader, WhatIsReadAndWhatIsRefused) {
    const std::string one = HexRecord(0, 0x10, {1, 2});
    const std::string two = HexRecord(0, 0x20, {3});
    const std::vector<DataRecord> first = {{0x10, {1, 2}}};
    const std::vector<DataRecord> both = {{0x10, {1, 2}}, {0x20, {3}}};
    const std::string bad = "Invalid intel hex data format: ValidateIntelHexLine: ";
    const std::string refused = "Invalid file format: ";
    using namespace std::string_literals;
    const struct {
        std::string text;
        std::vector<DataRecord> records;
        std::string error;
    } cases[] = {
        {one + two + HEX_END_RECORD, both, ""},
        {one + two, both, ""},
        {one + two.substr(0, two.size() - 1), both, ""},
        {one + HEX_END_RECORD + two, first, ""},
        {one + ":00000001FF \t\r\n" + two, first, ""},
        {one + ":00000001ff\n" + two, first, ""},
        {one + ":00123401B9\n" + two, first, ""},
        {"$\n" + one + two, both, ""},
        {"$ \r\n" + one + two, both, ""},
        {one + "$\n", first, bad + "Line too short: $"},
        {one + "\n", first, bad + "Line too short: "},
        {one + "junk, not a record", first,
         bad + "Unexpected starting character: junk, not a record"},
        {one + ":0400000300003800C1\n", first,
         bad + "Unrecognized record type: :0400000300003800C1"},
        // A line ends for the reader where a NUL stands, and so does what an error shows of it.
        {one + two.substr(0, 13) + "\0zzz\n"s, both, ""},
        {one + "abc\0def\n"s + two, first, bad + "Line too short: abc"},
        {one + "\0"s + two, first, bad + "Line too short: "},
        // White space at the end is stripped, in front it is not.
        {one + "\t" + two, first, bad + "Unexpected starting character: \t" + two.substr(0, 13)},
        // The trial of the first lines.
        {"", {}, refused},
        {HEX_END_RECORD, {}, refused},
        {":00000001ff\n" + one, {}, refused},
        {"rubbish\n", {}, refused + bad + "Line too short: rubbish"},
        {"$\n" + LINEAR_8000 + LINEAR_8000 + LINEAR_8000 + HexRecord(4, 0, {0, 0}) + one, first,
         ""},
        {"$\n" + LINEAR_8000 + LINEAR_8000 + LINEAR_8000 + LINEAR_8000 + HexRecord(0, 0, {}) + one,
         {},
         refused},
    };
    for (const auto& c : cases) {
        const ReadResult result = ReadAll(c.text);
        EXPECT_EQ(result.error, c.error) << c.text;
        EXPECT_EQ(result.records, c.records) << c.text;
    }
}

TEST(IntelHexReader, LongLinesAreCutAndEachPieceIsALine) {
    // The longest record has 521 characters. Blanks up to the 549th belong to it; what follows is a
    // line of its own.
    std::string longest = HexRecord(0, 0, Bytes(255, 0x11));
    longest.pop_back();
    ASSERT_EQ(longest.size(), 521U);
    const std::string two = HexRecord(0, 0x200, {2});
    const std::string blanks(549 - longest.size(), ' ');
    EXPECT_EQ(ReadAll(longest + blanks + two).records.size(), 2U);
    EXPECT_EQ(ReadAll(longest + blanks + two).error, "");
    EXPECT_EQ(ReadAll(longest + blanks + "\n" + two).error,
              "Invalid intel hex data format: ValidateIntelHexLine: Line too short: ");
    EXPECT_EQ(ReadAll(longest + blanks.substr(1) + "\n" + two).error, "");
    EXPECT_EQ(
        ReadAll(longest + blanks.substr(1) + two).error,
        "Invalid intel hex data format: ValidateIntelHexLine: Unexpected starting character: " +
            two.substr(1, 12));
}

// A text that is allowed as it stands is skipped even where it could be read as a record.
TEST(IntelHexReader, AnAllowedRecordIsSkipped) {
    const std::string allowed = HexRecord(0, 0x20, {4, 5});
    const CTempFile file(HexRecord(0, 0x10, {1}) + allowed + HexRecord(0, 0x30, {6}));
    CIntelHexReader reader;
    reader.AddAllowedText(allowed.substr(0, allowed.size() - 1).c_str(), -1);
    ASSERT_EQ(reader.OpenDataFile(file.Name()), "");
    std::vector<unsigned int> addresses;
    unsigned int address = 0;
    Bytes data;
    std::string error;
    while (reader.GetMoreInput(&address, data, &error)) {
        if (!data.empty()) {
            addresses.push_back(address);
        }
    }
    EXPECT_EQ(error, "");
    EXPECT_EQ(addresses, (std::vector<unsigned int>{0x10, 0x30}));
}

TEST(IntelHexReader, OpeningAndClosing) {
    CIntelHexReader reader;
    EXPECT_EQ(reader.OpenDataFile("/no/such/file"), "Could not open file /no/such/file");
    EXPECT_EQ(reader.OpenDataFile("/"), "Could not open file /");
    unsigned int address = 7;
    Bytes data{1};
    std::string error = "old";
    EXPECT_FALSE(reader.GetMoreInput(&address, data, &error));
    EXPECT_TRUE(data.empty());
    EXPECT_EQ(error, "");

    const std::string one = HexRecord(0, 0x10, {1});
    const CTempFile whole(LINEAR_8000 + one + HEX_END_RECORD);
    EXPECT_EQ(reader.OpenDataFile(whole.Name()), "");
    EXPECT_EQ(reader.OpenDataFile(whole.Name()), "Already open!");
    EXPECT_EQ(ReadOn(reader).records, (std::vector<DataRecord>{{0x80000010, {1}}}));
    const CTempFile plain(one + ":00000001ff\n" + one);
    EXPECT_EQ(reader.OpenDataFile(plain.Name()), "");
    EXPECT_EQ(ReadOn(reader).records, (std::vector<DataRecord>{{0x10, {1}}}));
    // A lower-case end record ends the reading but leaves the file open.
    EXPECT_EQ(reader.OpenDataFile(plain.Name()), "Already open!");
    EXPECT_EQ(ReadOn(reader).records, (std::vector<DataRecord>{{0x10, {1}}}));
    EXPECT_EQ(reader.OpenDataFile(plain.Name()), "");
    reader.CloseDataFile();
    EXPECT_TRUE(ReadOn(reader).records.empty());
}

TEST(IntelHexReader, ALineThatWasNotValidatedIsReadAsFarAsItGoes) {
    CIntelHexReader reader;
    unsigned int address = 7;
    Bytes data{1};
    unsigned short type = 9;
    reader.ProcessInputLine(":FF", &address, data, &type);
    EXPECT_EQ(type, 0);
    EXPECT_EQ(address, 0U);
    EXPECT_TRUE(data.empty());
    reader.ProcessInputLine(":FF123400AABB", &address, data, &type);
    EXPECT_EQ(address, 0x1234U);
    EXPECT_EQ(data, (Bytes{0xAA, 0xBB}));
}

}  // namespace
