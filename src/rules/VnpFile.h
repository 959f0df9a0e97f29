#pragma once

#include <string>
#include <vector>

struct CVnpParameter {
    unsigned int m_nLine;  // counted from 1
    std::string m_strName;
    std::string m_strValue;
};

struct CVnpSet {
    std::string m_strFileName;
    std::string m_strName;  // "" if the line that starts the set holds none in quotes
    // Every line that holds an "=", also without a name or a value, or with a name that came
    // before.
    std::vector<CVnpParameter> m_Parameters;
};

// Reads one set of a VNP file, line by line: the set named after "@" in path, else the first. False
// if the file is missing or not a VNP file. *error is set if it does not hold the set.
[[nodiscard]] bool ReadVnpSet(const std::string& path, CVnpSet& set, std::string* error);
