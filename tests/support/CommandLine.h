#pragma once

#include <sstream>
#include <string>
#include <vector>

// A command line, held as main gets it: words between blanks, of which '' is an empty one.
class CCommandLine {
public:
    explicit CCommandLine(const std::string& text) {
        std::istringstream in("hciload " + text);
        for (std::string word; in >> word;) {
            m_Words.push_back(word == "''" ? "" : word);
        }
        for (std::string& word : m_Words) {
            m_Argv.push_back(word.data());
        }
        m_Argv.push_back(nullptr);
    }

    int Count() const { return static_cast<int>(m_Words.size()); }
    char** Words() { return m_Argv.data(); }

private:
    std::vector<std::string> m_Words;
    std::vector<char*> m_Argv;
};
