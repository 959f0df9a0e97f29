#include <gtest/gtest.h>
#include <unistd.h>

#include "image/ChipImageByteData.h"
#include "rules/DownloadRulesSet.h"
#include "support/CaseFile.h"
#include "support/HexBytes.h"
#include "support/TempDir.h"
#include "util/NameValueTable.h"

// Each reader of files is given files that are not what they should be: it returns one clear text,
// or what the format makes of the file.

namespace {

std::string Read(char kind, const std::string& path) {
    CChipImageByteData image("", "", "");
    unsigned int number = 0;
    switch (kind) {
        case '1':
            return image.LoadFromHexFile(path.c_str(), true, false);
        case '2':
            return image.LoadFromHCDFile(path.c_str(), &number, true);
        case '3':
            return image.LoadFromNCDFile(path.c_str(), &number);
        case '4':
            return CDownloadRulesSet("").LoadFromDownloadParametersFile(path.c_str());
        default:
            return CNameValueTable().LoadFromFile(path.c_str());
    }
}

std::string MakeFile(const FILE_CASE& file, const CTempDir& folder) {
    std::string content;
    for (const auto& [mark, text] : file.lines) {
        if (mark == 'p') {
            return text;
        }
        if (mark == '|') {
            content += text + "\n";
        } else if (mark == 'x') {
            content += TextFromHex(text);
        } else if (mark == 'm') {
            content.append(1U << 20, text[0]);
        }
    }
    std::string path = folder.Write("file", content);
    if (!file.Text("g").empty()) {
        EXPECT_EQ(::truncate(path.c_str(), off_t{4} << 30), 0);
    }
    return path;
}

TEST(BadFiles, GetOneClearTextFromEachReader) {
    for (const FILE_CASE& file : ReadCases(BAD_FILES)) {
        const CTempDir folder;
        const std::string path = MakeFile(file, folder);
        for (const auto& [mark, text] : file.lines) {
            if (mark < '1' || mark > '5') {
                continue;
            }
            std::string start = text;
            if (start.ends_with('*')) {
                start.replace(start.size() - 1, 1, path);
            }
            const std::string error = Read(mark, path);
            EXPECT_EQ(error.substr(0, start.size()), start) << file.name << " " << mark;
            EXPECT_EQ(error.empty(), start.empty()) << file.name << " " << mark;
            // A message that quotes a line of a megabyte is no clear message.
            EXPECT_LT(error.size(), 1000U) << file.name << " " << mark;
        }
    }
}

}  // namespace
