#pragma once

#include <string>
#include <vector>

#include "chipsim/SimulatedChip.h"
#include "support/TempDir.h"

// A line of standard output, without its end, and when it came.
struct CPrintedLine {
    double m_Seconds;  // from the start of the program
    std::string m_strText;
};

// How the program ended and what it said.
struct CProgramResult {
    int m_nStatus = -1;  // as a shell tells it: 128 and the signal when one ended the program
    std::vector<CPrintedLine> m_Lines;
    std::string m_strErrors;

    std::vector<std::string> Texts() const;
};

// Runs the program itself against a started chip.
class CProgramRun {
public:
    // The chip's port becomes the program's terminal, so that -PORT /dev/tty reaches it. The
    // program runs in the folder.
    CProgramRun(const CSimulatedChip& chip, const CTempDir& folder)
        : m_Chip(chip), m_Folder(folder) {}

    // Ends the program with SIGTERM when it has printed so many lines; 0 = lets it run.
    void StopAfter(std::size_t lines) { m_nStopAfter = lines; }

    // Standard error goes where standard output goes, as in a log that somebody keeps.
    void MergeErrors() { m_bMergeErrors = true; }

    // The words are those behind the program's name. Waits for the end of the program; one
    // that hangs is killed after a minute.
    CProgramResult Run(std::vector<std::string> words);

private:
    const CSimulatedChip& m_Chip;
    const CTempDir& m_Folder;
    std::size_t m_nStopAfter = 0;
    bool m_bMergeErrors = false;
};
