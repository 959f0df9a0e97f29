#pragma once

#include <sys/types.h>

#include <span>
#include <string>

#include "os/FileDescriptor.h"
#include "transport/TerminalRestore.h"

// An open serial device: the descriptor, the lock on the terminal and the settings it had before.
// Close and the destructor restore the settings.
//
// One thread opens and closes; in between, WaitAndRead and Write may run on different threads.
class CSerialPort {
public:
    // Opens the device raw at 115200 baud, 8 data bits, no parity, 1 stop bit, no flow control, and
    // discards unread input. It does not become the controlling terminal, and no carrier is waited
    // for. False when it cannot be opened, or when someone, in this process or another, holds the
    // advisory lock that is taken on it. From then on SIGIO, which Linux raises for each byte, is
    // ignored, unless it has a handler. Not while open.
    [[nodiscard]] bool Open(const std::string& path);

    // Does nothing if not open.
    void Close();

    // Waits for bytes and reads them. Returns their number; 0 or -1, without waiting, when the line
    // has hung up or fails. A thread that is asked to end may end in here.
    [[nodiscard]] ssize_t WaitAndRead(std::span<unsigned char> bytes) const;

    // As write(2), repeated when interrupted.
    [[nodiscard]] ssize_t Write(std::span<const unsigned char> bytes) const;

private:
    [[nodiscard]] bool LockTerminal();
    void ArmSignals() const;

    CFileDescriptor m_Device;
    CFileDescriptor m_Terminal;  // holds the lock if m_Device is only an alias
    CTerminalRestore m_Restore;  // the last member: restores before the descriptors close
};
