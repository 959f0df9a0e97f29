#pragma once

#include <ostream>
#include <string>
#include <vector>

// What a download makes of each fault of the chip, for each kind of command: the table that the
// suite runs and that docs/faults.md shows to users.

// A command of the download that FaultMatrixTest runs.
struct FAULT_TARGET {
    const char* name;
    const char* selector;     // KIND:N as the simulated chip takes it
    const char* noReply;      // the error when its reply does not come in time
    double noReplySeconds;    // how long the program may take to say so
    const char* overflow;     // the error when more comes than the program can take
    const char* nextNoReply;  // the error when the command after it gets no reply; null = the
                              // program waits for that one long enough
};

// For the names of test cases.
inline void PrintTo(const FAULT_TARGET& target, std::ostream* out) {
    *out << target.selector;
}

struct FAULT_KIND {
    const char* name;   // as docs/faults.md calls it
    const char* fault;  // as the simulated chip takes it
};

// One cell of the table. An empty error means that the download recovers and ends with status 0.
struct FAULT_OUTCOME {
    std::string error;
    std::string orError = error;  // where it is a race which of two it is
    double seconds = 0;           // at most
};

const std::vector<FAULT_TARGET>& FaultTargets();
// Whether the command belongs to a patch download over NCI instead of a standard download.
bool IsOfPatchDownload(const FAULT_TARGET& target);
// Whether that is one for parts that restart.
bool NeedsResetNotification(const FAULT_TARGET& target);

// The faults that its reply can have.
std::vector<FAULT_KIND> FaultKindsOf(const FAULT_TARGET& target);
FAULT_OUTCOME ExpectedOutcome(const FAULT_TARGET& target, const FAULT_KIND& kind);

// docs/faults.md, whole.
std::string FaultTableAsMarkdown();
