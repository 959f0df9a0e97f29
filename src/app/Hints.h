#pragma once

#include <string>

#include "app/Request.h"
#include "transport/SerialPortList.h"

// Where a run failed.
enum FailurePlaces { FAILED_COMMAND_LINE, FAILED_PORT, FAILED_DOWNLOAD };

// A failed run, and its port as it is after that.
struct CFailure {
    FailurePlaces m_Place = FAILED_DOWNLOAD;
    std::string m_strError;
    std::string m_strPort;
    int m_nPortError = 0;         // why the port does not open now: an errno, 0 if it does
    bool m_bOwnTerminal = false;  // the port is the terminal that shows the errors
};

// What to do about the failure: at most two lines, each of which begins with "hint: ".
std::string MakeHints(const CFailure& failure, const CSystemFolders& folders);

// A hint about an option that will have no effect; empty if there is none.
std::string MakeHintBeforeDownload(const CRequest& request);

inline constexpr char HINT_NOTHING_TO_LOAD[] =
    "hint: -VINTORMODE is missing, so nothing is loaded: stop with Ctrl-C, put it first\n"
    "hint: and give the rules with -VNP in place of -RULES\n";

// Looks at the port and shows the hints, unless standard error is no terminal.
void ShowHints(FailurePlaces place, const std::string& error, const std::string& port);
// Shows one that is known already, likewise.
void ShowHint(const std::string& hint);
