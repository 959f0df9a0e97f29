#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "util/Finding.h"

// Reads a file of binary records and collects findings with their offsets.
class CBinaryScan {
public:
    CBinaryScan(std::FILE* file, const std::string& name) : m_pFile(file), m_strName(name) {}

protected:
    void Add(FindingSeverity severity, std::optional<std::uint64_t> offset, std::string what,
             std::string why) {
        m_Findings.push_back({severity, {m_strName, 0, offset}, std::move(what), std::move(why)});
    }

    // Where the next record starts. Always true, to stand in the condition of a loop.
    bool MarkPosition() {
        m_nPosition = Position();
        return true;
    }

    // After the last record: tells what ended the records, if it was not the end of the file.
    void AddEnd(const std::string& error) {
        std::fseek(m_pFile, 0, SEEK_END);
        if (!error.empty()) {
            Add(FindingSeverity::ERROR, m_nPosition, error, "The loader refuses the file here");
        } else if (Position() != m_nPosition) {
            Add(FindingSeverity::ERROR, m_nPosition, "The file ends in the middle of a record",
                "It was cut short, and what is missing is not loaded");
        }
    }

    std::FILE* m_pFile;
    const std::string& m_strName;
    std::vector<CFinding> m_Findings;
    std::uint64_t m_nPosition = 0;  // of the current record

private:
    std::uint64_t Position() const {
        const long position = std::ftell(m_pFile);
        return position < 0 ? 0 : static_cast<std::uint64_t>(position);
    }
};
