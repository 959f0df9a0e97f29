#include "corekit/intelhex/IntelHexReader.h"

#include <gtest/gtest.h>

#include "support/HexBytes.h"
#include "support/HexRecord.h"
#include "support/TempFile.h"
#include "util/FormatText.h"

namespace {

// The rest of the records as "address:bytes, ", and the error.
std::string ReadOn(CIntelHexReader& reader) {
    std::string shown;
    std::string error = "old";
    unsigned int address = 0;
    Bytes data;
    while (reader.GetMoreInput(&address, data, &error)) {
        shown += data.empty() ? "" : FormatText("%X:", address) + ToHex(data) + ", ";
    }
    return shown + error;
}

std::string Read(const std::string& text) {
    const CTempFile file(text);
    CIntelHexReader reader;
    const std::string error = reader.OpenDataFile(file.Name());
    return error.empty() ? ReadOn(reader) : error;
}

const std::string LINEAR = HexRecord(4, 0, {0x80, 0x00});
const std::string ONE = HexRecord(0, 0x10, {1, 2});
const std::string TWO = HexRecord(0, 0x20, {3});

TEST(IntelHexReader, AddressRecordsMoveTheDataThatFollow) {
    const struct {
        std::string text;
        unsigned int address;
    } cases[] = {
        {"", 0xFFFF},
        {LINEAR, 0x8000FFFF},
        {HexRecord(2, 0, {0xF0, 0x01}), 0x0010000F},
        {LINEAR + HexRecord(2, 0, {0x10, 0x00}), 0x1FFFF},
        // A start address moves them, too: images for these chips count on it.
        {HexRecord(5, 0, {0x12, 0x34, 0x56, 0x78}), 0x12355677},
        {HexRecord(5, 0, {0xFF, 0xFF, 0xFF, 0xFF}), 0x0000FFFE},
        {HexRecord(5, 0, {1, 2, 3, 4}) + LINEAR, 0x8000FFFF},
        // Missing bytes count as zero.
        {LINEAR + HexRecord(4, 0, {}), 0xFFFF},
        {HexRecord(4, 0, {0x12}), 0x1200FFFF},
        {HexRecord(5, 0, {1, 2, 3}), 0x010302FF},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Read(c.text + HexRecord(0, 0xFFFF, {1}) + HEX_END_RECORD),
                  FormatText("%X:01, ", c.address))
            << c.text;
    }
}

TEST(IntelHexReader, TellsWhatIsReadAndWhatIsRefused) {
    const std::string first = "10:01 02, ";
    const std::string both = "10:01 02, 20:03, ";
    const std::string bad = "Invalid intel hex data format: ValidateIntelHexLine: ";
    const std::string refused = "Invalid file format: ";
    // The longest record has 521 characters. Blanks up to the 549th belong to it; what follows is a
    // line of its own.
    const std::string filled = ONE.substr(0, ONE.size() - 1) + std::string(549 - 15, ' ');
    using namespace std::string_literals;
    const struct {
        std::string text, shown;
    } cases[] = {
        {ONE + TWO + HEX_END_RECORD, both},
        {ONE + TWO, both},
        {ONE + TWO.substr(0, TWO.size() - 1), both},
        {ONE + ":00000001FF \t\r\n" + TWO, first},
        {ONE + ":00000001ff\n" + TWO, first},
        {ONE + ":00123401B9\n" + TWO, first},
        {"$ \r\n" + ONE + TWO, both},
        {ONE + "$\n", first + bad + "Line too short: $"},
        {ONE + "\n", first + bad + "Line too short: "},
        {ONE + "junk, not a record",
         first + bad + "Unexpected starting character: junk, not a record"},
        // A line ends for the reader where a NUL stands, and so does what an error shows of it.
        {ONE + TWO.substr(0, 13) + "\0zzz\n"s, both},
        {ONE + "abc \0def\n"s + TWO, first + bad + "Line too short: abc"},
        // White space is stripped at the end of a line, not at its start.
        {ONE + "\t" + TWO, first + bad + "Unexpected starting character: \t" + TWO.substr(0, 13)},
        // A byte-order mark is no start of a line, and a carriage return alone no end of one.
        {"\xEF\xBB\xBF" + ONE,
         refused + bad + "Unexpected starting character: \xEF\xBB\xBF" + ONE.substr(0, 15)},
        {ONE.substr(0, 15) + "\r" + TWO.substr(0, 13) + "\r", first},
        {filled + TWO, both},
        {filled + "\n" + TWO, first + bad + "Line too short: "},
        {filled.substr(1) + "\n" + TWO,
         refused + bad + "Unexpected starting character: " + filled.substr(1, 14)},
        // The trial of the first lines.
        {"", refused},
        {HEX_END_RECORD, refused},
        {":00000001ff\n" + ONE, refused},
        {"rubbish\n", refused + bad + "Line too short: rubbish"},
        {"$\n" + LINEAR + LINEAR + LINEAR + HexRecord(4, 0, {}) + ONE, first},
        {"$\n" + LINEAR + LINEAR + LINEAR + LINEAR + LINEAR + ONE, refused},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Read(c.text), c.shown) << c.text;
    }
}

// A text that is allowed as it stands is skipped even where it could be read as a record.
TEST(IntelHexReader, SkipsAnAllowedRecord) {
    const CTempFile file(ONE + TWO + HexRecord(0, 0x30, {6}));
    CIntelHexReader reader;
    reader.AddAllowedText(TWO.substr(0, TWO.size() - 1).c_str(), -1);
    ASSERT_EQ(reader.OpenDataFile(file.Name()), "");
    EXPECT_EQ(ReadOn(reader), "10:01 02, 30:06, ");

    // Records that are read at once count as lines, too.
    const CTempFile noteOnLine3(ONE + HexRecord(0, 0x12, {3, 4}) + "note\n" + TWO);
    CIntelHexReader fast;
    fast.AddAllowedText("note", 3);
    ASSERT_EQ(fast.OpenDataFile(noteOnLine3.Name()), "");
    Bytes bytes(HEX_MAX_DATA_SIZE);
    unsigned int address = 0;
    unsigned int count = 0;
    std::string error;
    EXPECT_TRUE(fast.GetMoreData(&address, bytes.data(), 100, &count, &error));
    EXPECT_EQ(count, 4U);
    EXPECT_EQ(ReadOn(fast), "20:03, ");
}

TEST(IntelHexReader, ReadsOneFileAfterTheOther) {
    CIntelHexReader reader;
    EXPECT_EQ(reader.OpenDataFile("/no/such/file"), "Could not open file /no/such/file");
    EXPECT_EQ(reader.OpenDataFile("/"), "Could not open file /");
    EXPECT_EQ(reader.OpenDataFile("/proc/self/mem"),
              "Invalid file format: Failed to read intel hex data: Input/output error");
    EXPECT_EQ(ReadOn(reader), "");
    const CTempFile whole(LINEAR + ONE + HEX_END_RECORD);
    EXPECT_EQ(reader.OpenDataFile(whole.Name()), "");
    EXPECT_EQ(reader.OpenDataFile(whole.Name()), "Already open!");
    EXPECT_EQ(ReadOn(reader), "80000010:01 02, ");
    const CTempFile plain(ONE + ":00000001ff\n" + TWO);
    EXPECT_EQ(reader.OpenDataFile(plain.Name()), "");
    EXPECT_EQ(ReadOn(reader), "10:01 02, ") << "the base address is 0 again";
    // An end record in lower case ends the reading but leaves the file open.
    EXPECT_EQ(reader.OpenDataFile(plain.Name()), "Already open!");
    EXPECT_EQ(ReadOn(reader), "20:03, ");
    EXPECT_EQ(reader.OpenDataFile(plain.Name()), "");
    reader.CloseDataFile();
    EXPECT_EQ(ReadOn(reader), "");
}

TEST(IntelHexReader, ReadsALineThatWasNotValidatedAsFarAsItGoes) {
    CIntelHexReader reader;
    unsigned int address = 7;
    Bytes data{1};
    unsigned short type = 9;
    reader.ProcessInputLine(":FF", &address, data, &type);
    EXPECT_EQ(type + address + data.size(), 0U);
    reader.ProcessInputLine(":FF123400AABB", &address, data, &type);
    EXPECT_EQ(address, 0x1234U);
    EXPECT_EQ(ToHex(data), "AA BB");
}

}  // namespace
