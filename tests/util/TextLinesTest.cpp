#include "util/TextLines.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/TempDir.h"
#include "util/FileHandle.h"

namespace {

using namespace std::string_literals;

TEST(TextLines, TrimsAStretch) {
    const struct {
        std::string stretch;
        const char* expected;
    } cases[] = {
        {"  My Dev \r\n", "My Dev"},
        {"x", "x"},
        {"", ""},
        {" \t", "\t"},
        {"   \r", "\r"},
        {"ab \0 cd"s, "ab"},
        {"\0ab"s, ""},
        {"  \0ab"s, " "},
        {"\xA0x\x85", "\xA0x\x85"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ExtractTrimmedString(c.stretch, false), c.expected);
        const char* const first = c.stretch.data();
        if (!c.stretch.empty()) {
            EXPECT_EQ(ExtractTrimmedString(first, first + c.stretch.size() - 1, false), c.expected);
        }
    }
    const char text[] = " aB\xE9 ";
    EXPECT_EQ(ExtractTrimmedString(text, text + 4, true), "AB\xE9");
    EXPECT_EQ(ExtractTrimmedString(text + 1, text, false), "");
    EXPECT_EQ(ExtractTrimmedString(nullptr, text, false), "");
    EXPECT_EQ(ExtractTrimmedString(text, nullptr, false), "");
}

std::vector<std::string> CleanLines(const std::string& path, long& lineNumber) {
    const CFileHandle file = OpenFileForReading(path.c_str());
    std::vector<std::string> lines;
    char buf[CLEAN_LINE_ROOM];
    while (file && ReadNextCleanLine(buf, file.get(), &lineNumber, '#') == buf) {
        lines.emplace_back(buf);
    }
    return lines;
}

TEST(TextLines, ReadsCleanLines) {
    const struct {
        std::string content;
        std::vector<std::string> lines;
        long count;
    } cases[] = {
        {"", {}, 0},
        {" one \r\n\n  # two\n three # 3 # x\nfour", {"one", "three", "four"}, 5},
        {"a \"#\" b # c\n\"#\n", {"a \"#\" b", "\"#"}, 2},
        {std::string(499, 'x') + "yz\n", {std::string(499, 'x'), "yz"}, 2},
        {std::string(5000, ' ') + "x", {"x"}, 11},
        {"ab\0cd\n\0\nef\n"s, {"ab", "ef"}, 3},
    };
    const CTempDir dir;
    for (const auto& c : cases) {
        long lineNumber = 0;
        EXPECT_EQ(CleanLines(dir.Write("lines.txt", c.content), lineNumber), c.lines);
        EXPECT_EQ(lineNumber, c.count);
    }
}

TEST(TextLines, KnowsWhichFilesExist) {
    const CTempDir dir;
    EXPECT_TRUE(DoesFileExist(dir.Write("empty", "").c_str()));
    EXPECT_FALSE(DoesFileExist(dir.PathOf("missing").c_str()));
    EXPECT_FALSE(DoesFileExist(dir.Path().c_str()));
    EXPECT_FALSE(DoesFileExist(""));
    EXPECT_FALSE(DoesFileExist(nullptr));
}

TEST(TextLines, TellsQuotedTexts) {
    const struct {
        const char* text;
        bool isSingle, isDouble;
    } cases[] = {{"\"a\"", false, true}, {"\"\"", false, true},  {"\"", false, false},
                 {"'a b'", true, false}, {"'a\"", false, false}, {"a\"", false, false},
                 {"", false, false},     {nullptr, false, false}};
    for (const auto& c : cases) {
        EXPECT_EQ(IsSingleQuoted(c.text), c.isSingle) << (c.text ? c.text : "(null)");
        EXPECT_EQ(IsDoubleQuoted(c.text), c.isDouble) << (c.text ? c.text : "(null)");
    }
}

}  // namespace
