#pragma once

#include <getopt.h>

#include <span>
#include <string>
#include <vector>

// Reads the command line of a program by getopt_long, one option or word at a time, and finds the
// text for what is wrong. Names may be shortened while they stay unambiguous. Not for two threads
// at once: the C library keeps its place in globals.
class CLongOptions {
public:
    struct CRow {
        const char* m_szName;
        const char* m_szWants = nullptr;  // what its value must be, such as "a number"; null: none
        char m_cLetter = '\0';            // of the short form, if there is one
    };
    static constexpr int END = -1;
    static constexpr int WORD = -2;   // see Value; only where options may follow words
    static constexpr int WRONG = -3;  // see Error

    // Options end at the first word, or at "--" only.
    CLongOptions(int argc, char** argv, std::vector<CRow> rows, bool endAtWord);

    // The index of the row that was found, or one of the numbers above.
    int Next();
    // Of the option or the word. Empty for an option that takes none.
    const std::string& Value() const { return m_strValue; }
    const std::string& Error() const { return m_strError; }
    // After END.
    std::span<char*> Rest() const;

    // "option '--NAME' needs ..."
    static std::string Needs(const CRow& row, const std::string& instead = {});

private:
    const CRow* FindRow(int value) const;
    std::string ErrorFor(int found) const;

    int m_nArgc;
    char** m_pArgv;
    std::vector<CRow> m_Rows;
    std::vector<option> m_Options;
    std::string m_strLetters;
    std::string m_strValue;
    std::string m_strError;
};
