#pragma once

#include <string>
#include <utility>

// A line that is no record but may stand in an Intel HEX file and is passed over.
class CAllowedLineInFile {
public:
    // A negative line number allows the text on any line; lines count from 1.
    CAllowedLineInFile(std::string text, int lineNumber)
        : m_strText(std::move(text)), m_nLineNumber(lineNumber) {}

    const std::string& GetText() const { return m_strText; }
    int GetLineNumber() const { return m_nLineNumber; }

private:
    std::string m_strText;
    int m_nLineNumber;
};
