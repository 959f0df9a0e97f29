#pragma once

#include "download/DownloadStates.h"

class CByteBuffer;
class CChipImageLoadingInformation;

// What a run spends its time on. A phase may interrupt another: checks come between writes.
enum DownloadPhases : unsigned int {
    PHASE_NONE,
    PHASE_PRELOAD,  // the commands before the first record
    PHASE_MINIDRIVER,
    PHASE_ERASE,
    PHASE_WRITE,
    PHASE_CHECK,
    PHASE_VERIFY,
    PHASE_LAUNCH,
};

// Told of the course of a run. One thread at a time: the one that prepares, then the download
// thread; changes of state come from any thread.
class CRunObserver {
public:
    virtual ~CRunObserver() = default;

    // Also after an error, with the images that were read before it. They stay where they are until
    // the run ends.
    virtual void FilesRead(const CChipImageLoadingInformation& /*info*/) {}
    virtual void StateChanged(DownloadStates /*state*/) {}
    virtual void PhaseChanged(DownloadPhases /*phase*/) {}
    // Done means what the phase does: written, checked or read back.
    virtual void RecordDone(unsigned int /*size*/) {}
    virtual void AreaDone(const CByteBuffer& /*area*/) {}
};
