#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "util/JsonText.h"

enum class FindingSeverity {
    WARNING,  // may be meant
    ERROR,    // fails, or loads something else than is meant
};

// Where something was found. Binary files have offsets, texts have lines.
struct CFindingPlace {
    CFindingPlace(std::string file, unsigned int line = 0,
                  std::optional<std::uint64_t> offset = std::nullopt)
        : m_strFile(std::move(file)), m_nLine(line), m_Offset(offset) {}

    std::string m_strFile;  // "" = the command line
    unsigned int m_nLine;   // counted from 1; 0 = the whole file
    std::optional<std::uint64_t> m_Offset;
};

// What is wrong with the input of a download, seen before it.
struct CFinding {
    FindingSeverity m_Severity;
    CFindingPlace m_Place;
    std::string m_strWhat;
    std::string m_strWhy;  // why it matters

    // "error: firmware.hex, line 178: WHAT. WHY." Control characters are escaped.
    std::string Text() const;
    CJsonText Json() const;
};

// The exit status of a check: 0 for no findings, 1 for warnings only, 2 with an error.
int StatusOfFindings(const std::vector<CFinding>& findings);
