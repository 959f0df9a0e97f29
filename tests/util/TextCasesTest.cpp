#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>

#include "support/CaseTable.h"
#include "support/TempDir.h"
#include "util/ByteOrder.h"
#include "util/FileHandle.h"
#include "util/FormatText.h"
#include "util/HexText.h"
#include "util/NameValueTable.h"
#include "util/NumberText.h"
#include "util/TextCase.h"
#include "util/VariableValue.h"

// The functions that the tables beside this file name, each from a text to a text.

namespace {

using Text = std::string;

Text Integer(const Text& in) {
    unsigned int value = 77;
    int signedValue = 77;
    const bool found = TryToGetUIntValue(in.c_str(), &value);
    EXPECT_EQ(TryToGetIntValue(in.c_str(), &signedValue), found);
    EXPECT_EQ(signedValue, static_cast<int>(value));
    EXPECT_EQ(GetIntValue(in.c_str()), found ? signedValue : 0);
    const bool isBinary = IsBinaryInt(in.c_str());
    EXPECT_EQ(ScanBinaryInt(in.c_str()), isBinary ? signedValue : 0);
    return Text(IsDecInt(in.c_str()) ? "dec " : "") + (IsHexInt(in.c_str()) ? "hex " : "") +
           (isBinary ? "bin " : "") + std::to_string(value);
}

Text Bytes(bool ok, const unsigned char* bytes, unsigned int count) {
    Text text = ok ? "ok" : "refused";
    ConcatHexBytesToString(text, bytes, static_cast<int>(count), 0);
    return text;
}

Text Tokens(const Text& in) {
    unsigned char bytes[4] = {};
    unsigned int count = 99;
    const bool ok = ParseHexBytesFromString(in.c_str(), bytes, 4, &count);
    return Bytes(ok, bytes, count);
}

Text Run(const Text& in) {
    unsigned char bytes[4] = {};
    unsigned int count = 99;
    const bool ok = ParseHexBytesWithoutDelimiters(in.c_str(), bytes, 4, &count, '?');
    return Bytes(ok, bytes, count);
}

Text Leb128(const Text& in) {
    unsigned char bytes[6] = {};
    const unsigned int count = CopyUint32ToByteBufferLEB128(GetUIntValue(in.c_str()), bytes);
    unsigned char used = 0;
    const bool ok = CopyByteBufferLEB128ToUint32(bytes, &used) == GetUIntValue(in.c_str());
    return Bytes(ok && used == count, bytes, count);
}

Text Trimmed(const Text& in) {
    Text trimmed = ExtractTrimmedString(in, false);
    EXPECT_EQ(ExtractTrimmedString(in, true), UpperCaseCopy(trimmed));
    EXPECT_TRUE(in.empty() || ExtractTrimmedString(&in.front(), &in.back(), false) == trimmed);
    return trimmed;
}

Text Clean(const Text& in) {
    const CTempDir dir;
    const CFileHandle file = OpenFileForReading(dir.Write("lines.txt", in).c_str());
    Text lines;
    char buffer[CLEAN_LINE_ROOM];
    long count = 0;
    while (ReadNextCleanLine(buffer, file.get(), &count, '#') == buffer) {
        lines.append(buffer).append("/");
    }
    return lines + std::to_string(count);
}

Text Load(const Text& in) {
    CNameValueTable table;
    table.AddValue("stale", "1");
    const Text error = table.LoadFromString(in.c_str());
    return error + ": " + table.StoreTableToString();
}

Text Unpack(const Text& in) {
    CVariableValue value("kept");
    value.AssignName("old");
    const bool ok = value.UnpackFromString(in.c_str());
    Text buffer;
    return Text(ok ? "" : "refused ") + value.PackIntoString(buffer);
}

Text Scan(const Text& in) {
    CVariableValue value;
    EXPECT_TRUE(value.UnpackFromString(in.substr(0, in.find(';')).c_str()));
    const bool ok = value.ScanValueFromString(in.c_str() + in.find(';') + 1);
    Text buffer;
    return Text(ok ? "" : "refused ") + value.GetValueAsString(buffer, 200);
}

Text Date(const Text& in) {
    return CDateTimeHolder(in.c_str()).AsText();
}

Text Upper(const Text& in) {
    Text out = in;
    return STRING_TO_UPPER(out.data());
}

Text Quotes(const Text& in) {
    return Text(IsSingleQuoted(in.c_str()) ? "single" : "") +
           (IsDoubleQuoted(in.c_str()) ? "double" : "");
}

const std::map<Text, Text (*)(const Text&)> g_Functions = {
    {"integer", Integer}, {"tokens", Tokens}, {"run", Run},     {"leb", Leb128},
    {"trimmed", Trimmed}, {"clean", Clean},   {"load", Load},   {"unpack", Unpack},
    {"scan", Scan},       {"date", Date},     {"upper", Upper}, {"quotes", Quotes}};

TEST(TextFunctions, EachTextGivesTheTextBesideIt) {
    for (const char* file : {"numbers", "hex", "lines", "name_values", "values"}) {
        for (const TABLE_CASE& c : ReadCaseTable(Text(CASES_FOLDER "/") + file + ".txt", 3)) {
            EXPECT_EQ(g_Functions.at(c.fields[0])(c.fields[1]), c.fields[2])
                << c.where << ' ' << c.fields[1];
        }
    }
}

TEST(TextFunctions, LongTextsAreNotCut) {
    for (const std::size_t size : {0U, 254U, 255U, 256U, 257U, 5000U}) {
        EXPECT_EQ(FormatText("%s%d", Text(size, 'x').c_str(), 7), Text(size, 'x') + "7");
    }
    EXPECT_EQ(Clean(Text(499, 'x') + "yz\n" + Text(5000, ' ') + "end"),
              Text(499, 'x') + "/yz/end/13");
    char out[258];
    EXPECT_EQ(UIntToHex(0x1F, out, 255, true), "0x" + Text(253, ' ') + "1F");
    EXPECT_EQ(UIntToHex(0xDEADBEEF, out, 4, false), Text("DEADBEEF"));
    EXPECT_EQ(UIntToHex(7, nullptr, 4, true), nullptr);
}

TEST(TextFunctions, WildcardDigitsAreRandomAndTheOthersStay) {
    std::map<int, int> seen;
    unsigned int count = 0;
    for (int i = 0; i < 500; ++i) {
        unsigned char out = 0;
        ASSERT_TRUE(ParseHexBytesWithoutDelimiters("5*", &out, 1, &count, '*'));
        ++seen[out];
    }
    EXPECT_EQ(seen.size(), 16U);
    EXPECT_EQ(seen.begin()->first, 0x50);
    EXPECT_EQ(seen.rbegin()->first, 0x5F);
    EXPECT_TRUE(ParseHexBytesFromString("1 2 3 4 5 6", nullptr, 0, &count));
    EXPECT_EQ(count, 6U) << "without an output they are only counted";
}

TEST(TextFunctions, MissingTextsAreNothing) {
    const char text[] = "ab";
    EXPECT_EQ(ExtractTrimmedString(text + 1, text, false), "");
    EXPECT_EQ(ExtractTrimmedString(nullptr, text, false), "");
    EXPECT_EQ(ExtractTrimmedString(text, nullptr, false), "");
    EXPECT_FALSE(IsDoubleQuoted(nullptr) || IsDecInt(nullptr) || IsHexInt(nullptr) ||
                 IsRealNumber(nullptr));
    const CTempDir dir;
    const Text pipe = dir.PathOf("pipe that nobody writes to");
    EXPECT_EQ(mkfifo(pipe.c_str(), 0), 0);
    EXPECT_EQ(DoesFileExist(pipe.c_str()), geteuid() == 0);
    EXPECT_FALSE(DoesFileExist(nullptr) || DoesFileExist("") || DoesFileExist("/"));
    EXPECT_FALSE(EqualIgnoringCase("\xE4", "\xC4") || EqualIgnoringCase("a", "ab"));
    EXPECT_EQ(GetRealValue("-2e3 MHz") + GetRealValue("MHz"), -2000);
    EXPECT_TRUE(DoesFileExist("/dev/null") && EqualIgnoringCase("aB", "Ab"));
    const unsigned char bytes[] = {0x01, 0xAB};
    Text out = "old";
    EXPECT_EQ(BytesToHexString(nullptr, 2, out, ' ', true), 0U);
    EXPECT_EQ(BytesToHexString(bytes, 0, out, ' ', true), 0U);
    EXPECT_EQ(out, "old");
    EXPECT_EQ(BytesToHexString(bytes, 2, out, ',', true), 9U);
    EXPECT_EQ(out, "0x01,0xAB");
    char line[20] = "two:";
    ConcatHexBytesToString(line, bytes, 2, 2);
    EXPECT_EQ(ConcatHexBytesToString(line, bytes, 2, 1), Text("two: 01 AB 01 ..."));
}

}  // namespace
