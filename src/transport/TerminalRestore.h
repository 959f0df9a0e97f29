#pragma once

#include <termios.h>

// Puts the terminals in use back as they were when a signal ends the process.

// Catches SIGINT, SIGTERM, SIGHUP and SIGQUIT, unless they are ignored: the saved settings of all
// registered terminals are put back, then the process ends by that same signal. Called once, by
// main.
void InstallTerminalRestoreOnSignals();

// Registers one terminal for as long as its settings are changed. Only a limited number can be
// registered at a time; a terminal beyond that is changed all the same and not put back.
//
// One thread at a time uses an object; objects do not disturb each other.
class CTerminalRestore {
public:
    CTerminalRestore() = default;
    ~CTerminalRestore() { Leave(); }
    CTerminalRestore(const CTerminalRestore&) = delete;
    CTerminalRestore& operator=(const CTerminalRestore&) = delete;

    // Registers descriptor with the settings to put back and, without a gap in which a signal would
    // miss it, applies the new settings. Does nothing when a signal is already ending the process.
    // Not while registered.
    void EnterAndApply(int descriptor, const termios& saved, const termios& settings);

    // From the return on nothing touches the descriptor, so it may be closed and its number used
    // again. Does not put the settings back.
    void Leave();

private:
    int m_nSlot = -1;
};
