#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

// A case of a file of cases, each line of which is a mark, a space and a text. "== NAME" starts a
// case; the lines before the first one belong to every case. Empty lines and comments, which start
// with #, are skipped.
struct FILE_CASE {
    struct LINE {
        char mark;
        std::string text;
    };

    std::string name;  // with its file and line
    std::vector<LINE> lines;

    // The texts with one of the marks, a line feed after each.
    std::string Text(const std::string& marks) const {
        std::string text;
        for (const LINE& line : lines) {
            text += marks.find(line.mark) == std::string::npos ? "" : line.text + "\n";
        }
        return text;
    }
};

inline std::vector<FILE_CASE> ReadCases(const std::string& path) {
    std::ifstream file(path);
    EXPECT_TRUE(file.is_open()) << path;
    FILE_CASE common;
    std::vector<FILE_CASE> cases;
    int number = 0;
    for (std::string line; std::getline(file, line);) {
        ++number;
        const std::string text = line.size() > 2 ? line.substr(2) : "";
        if (line.starts_with("==")) {
            cases.push_back(common);
            cases.back().name =
                path.substr(path.rfind('/') + 1) + ":" + std::to_string(number) + text;
        } else if (!line.empty() && line[0] != '#') {
            (cases.empty() ? common : cases.back()).lines.push_back({line[0], text});
        }
    }
    EXPECT_FALSE(cases.empty()) << path;
    return cases;
}

inline std::vector<std::string> Split(const std::string& text, const std::string& separator) {
    std::vector<std::string> parts;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find(separator, start), text.size());
        parts.push_back(text.substr(start, end - start));
        start = end + separator.size();
    }
    return parts;
}

// Lines as one line, with "; " between them.
inline std::string OnOneLine(const std::string& lines) {
    std::string text;
    for (const std::string& line : Split(lines, "\n")) {
        text += text.empty() || line.empty() ? line : "; " + line;
    }
    return text;
}
