#pragma once

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "util/TextLines.h"

// A case of a table, which is one line of a file: fields separated by "|", without the blanks
// around them. Those left out at the end are empty. \n \r \t \0 \xNN \\ are as in C, \s is a blank.
// Empty lines and comments, which start with #, are skipped.
struct TABLE_CASE {
    std::string where;  // file and line
    std::vector<std::string> fields;
};

inline std::string Unescaped(std::string_view text) {
    constexpr std::string_view LETTERS = "snrt0\\";
    constexpr std::string_view MEANINGS(" \n\r\t\0\\", LETTERS.size());
    std::string value;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            value += text[i];
        } else if (text.substr(++i, 1) == "x") {
            value += static_cast<char>(std::stoi(std::string(text.substr(i + 1, 2)), nullptr, 16));
            i += 2;
        } else {
            value += MEANINGS.at(LETTERS.find(text.at(i)));
        }
    }
    return value;
}

// The cases of a table with so many columns. A mistake in the file is thrown, with file and line.
inline std::vector<TABLE_CASE> ReadCaseTable(const std::string& path, std::size_t columns) {
    std::ifstream file(path);
    std::vector<TABLE_CASE> cases;
    int number = 0;
    for (std::string line; std::getline(file, line);) {
        ++number;
        if (line.empty() || line[0] == '#') {
            continue;
        }
        const std::string name = path.substr(path.rfind('/') + 1);
        TABLE_CASE& added = cases.emplace_back(TABLE_CASE{name + ":" + std::to_string(number), {}});
        std::istringstream rest(line);
        try {
            for (std::string field; std::getline(rest, field, '|');) {
                added.fields.push_back(Unescaped(TrimmedView(field)));
            }
        } catch (const std::exception&) {
            throw std::runtime_error(added.where + ": a wrong escape");
        }
        if (added.fields.size() > columns) {
            throw std::runtime_error(added.where + ": too many fields");
        }
        added.fields.resize(columns);
    }
    if (cases.empty()) {
        throw std::runtime_error(path + ": no cases");
    }
    return cases;
}
