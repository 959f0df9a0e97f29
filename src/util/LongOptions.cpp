#include "util/LongOptions.h"

#include <string_view>
#include <utility>

namespace {

// What getopt_long returns for the first row; no character has such a value.
constexpr int FIRST_VALUE = 256;

constexpr int WORD_IN_ORDER = 1;

}  // namespace

CLongOptions::CLongOptions(int argc, char** argv, std::vector<CRow> rows, bool endAtWord)
    : m_nArgc(argc), m_pArgv(argv), m_Rows(std::move(rows)), m_strLetters(endAtWord ? "+:" : "-:") {
    int value = FIRST_VALUE;
    for (const CRow& row : m_Rows) {
        const bool takesValue = row.m_szWants != nullptr;
        m_Options.push_back(
            {row.m_szName, takesValue ? required_argument : no_argument, nullptr, value++});
        if (row.m_cLetter != '\0') {
            m_strLetters += row.m_cLetter;
            m_strLetters += takesValue ? ":" : "";
        }
    }
    m_Options.push_back({});
    optind = 0;  // starts anew, also after an earlier call
    opterr = 0;
}

int CLongOptions::Next() {
    const int found =
        ::getopt_long(m_nArgc, m_pArgv, m_strLetters.c_str(), m_Options.data(), nullptr);
    if (found == -1) {
        return END;
    }
    m_strValue = optarg == nullptr ? "" : optarg;
    if (found == WORD_IN_ORDER) {
        return WORD;
    }
    if (found == '?' || found == ':') {
        m_strError = ErrorFor(found);
        return WRONG;
    }
    return static_cast<int>(FindRow(found) - m_Rows.data());
}

std::span<char*> CLongOptions::Rest() const {
    return {m_pArgv + optind, m_pArgv + m_nArgc};
}

std::string CLongOptions::Needs(const CRow& row, const std::string& instead) {
    return std::string("option '--") + row.m_szName + "' needs " + row.m_szWants + instead;
}

const CLongOptions::CRow* CLongOptions::FindRow(int value) const {
    if (value >= FIRST_VALUE) {
        return &m_Rows[static_cast<std::size_t>(value - FIRST_VALUE)];
    }
    for (const CRow& row : m_Rows) {
        if (value != 0 && row.m_cLetter == value) {
            return &row;
        }
    }
    return nullptr;
}

std::string CLongOptions::ErrorFor(int found) const {
    const CRow* const row = FindRow(optopt);
    if (row != nullptr) {
        return found == ':' ? Needs(*row)
                            : std::string("option '--") + row->m_szName + "' takes no value";
    }
    const std::string_view word = m_pArgv[optind - 1];
    const bool isLong = optopt == 0;
    return "unknown or ambiguous option '" +
           (isLong ? std::string(word.substr(0, word.find('=')))
                   : std::string{'-', static_cast<char>(optopt)}) +
           "'";
}
