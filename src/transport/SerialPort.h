#pragma once

#include <sys/types.h>
#include <termios.h>

#include <span>
#include <string>

#include "transport/TerminalRestore.h"

// An open serial device: owns the descriptor, the lock on the terminal and the settings it had. Who
// destroys or closes it gets the terminal back as it was.
//
// One thread opens and closes; WaitAndRead and Write may run on different threads in between.
class CSerialPort {
public:
    CSerialPort() = default;
    ~CSerialPort() { Close(); }
    CSerialPort(const CSerialPort&) = delete;
    CSerialPort& operator=(const CSerialPort&) = delete;

    // Opens the device without waiting for a carrier and without making it the controlling
    // terminal, and takes an advisory lock on it. False when it cannot be opened or somebody else,
    // in this process or another, holds the lock. Not while open.
    bool Open(const std::string& path);

    // Makes this process the one that gets the descriptor's signals and clears O_NONBLOCK. SIGIO
    // is ignored from then on, unless somebody handles it.
    void ArmSignals();

    // Saves the settings, discards unread input and makes the line raw (see TerminalSettings.h).
    void SetUpLine();

    // Puts the saved settings back at once and closes, whether or not that works. Does nothing when
    // not open.
    void Close();

    // Waits for bytes and reads them. Returns their number, 0 or -1 when the line has hung up or
    // fails, which it then does at once. A thread that is asked to end may end in here.
    ssize_t WaitAndRead(std::span<unsigned char> bytes) const;

    // As write(2), tried again when interrupted.
    ssize_t Write(std::span<const unsigned char> bytes) const;

private:
    bool LockTerminal();

    int m_nDescriptor = -1;
    int m_nLockDescriptor = -1;  // only where the lock is not on the descriptor itself
    bool m_bSaved = false;       // SetUpLine found a terminal
    termios m_SavedSettings{};
    CTerminalRestore m_RestoreOnSignal;
};
