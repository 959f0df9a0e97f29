#pragma once

#include <chrono>
#include <string>

#include "download/DownloadRecord.h"
#include "os/Terminal.h"

// How far a phase of the download is.
struct CPhaseProgress {
    const char* m_szPhase = "";
    unsigned int m_nDone = 0;
    unsigned int m_nTotal = 0;    // 0 = not known
    double m_BytesPerSecond = 0;  // 0 = not known
    double m_Seconds = 0;         // so far
};

// Phase, bar, percent, speed, time gone and time left: what is known, and at most so many columns.
std::string MakeStatusText(const CPhaseProgress& progress, unsigned int columns);

// The status line of a download, on standard error; nothing where a terminal cannot or shall not
// show it. Erased in the end.
class CStatusLine {
public:
    // Never on the chip's own port.
    explicit CStatusLine(const std::string& port)
        : m_bIsShown(m_Terminal.ShowsStatusLine() && !m_Terminal.IsDevice(port)) {}
    CStatusLine(const CStatusLine&) = delete;
    CStatusLine& operator=(const CStatusLine&) = delete;
    ~CStatusLine() { CTerminal::EraseStatusLine(); }

    // After a poll that saw this state.
    void Draw(const CDownloadRecord& record, DownloadStates state);

private:
    using Clock = std::chrono::steady_clock;

    const CTerminal m_Terminal{stderr};
    const bool m_bIsShown;
    const char* m_szPhase = nullptr;
    Clock::time_point m_PhaseStart;  // as the polls saw it
    unsigned int m_nDoneAtStart = 0;
};
