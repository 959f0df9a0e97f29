#pragma once

#include <termios.h>

// Makes SIGINT, SIGTERM, SIGHUP and SIGQUIT, unless they are ignored, restore all terminals that a
// CTerminalRestore has changed; the process then ends by that same signal. Called once, by main.
void InstallTerminalRestoreOnSignals();

// Changes the settings of a terminal and restores them, at the latest in the destructor.
//
// One thread at a time uses an object; several objects may be used at once. Once a signal is ending
// the process, the operations do not return.
class CTerminalRestore {
public:
    CTerminalRestore() = default;
    ~CTerminalRestore() { Leave(); }
    CTerminalRestore(const CTerminalRestore&) = delete;
    CTerminalRestore& operator=(const CTerminalRestore&) = delete;

    // Saves the settings of the terminal and applies new ones. Leaves a descriptor alone that is
    // not a terminal. Not while entered.
    void EnterAndApply(int descriptor, const termios& settings);

    // Restores the settings, if it has changed any. Afterwards nothing touches the descriptor, so
    // it may be closed.
    void Leave();

private:
    friend void InstallTerminalRestoreOnSignals();
    static void EndBySignal(int signal);
    void Restore() const;

    static CTerminalRestore* m_pFirst;  // the list of those entered

    int m_nDescriptor = -1;  // -1: not entered
    termios m_Saved{};
    CTerminalRestore* m_pNext = nullptr;
};
