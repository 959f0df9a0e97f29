#pragma once

#include <span>
#include <string>

#include "os/FileDescriptor.h"

// A raw pseudo-terminal. The chip holds the master; its user opens the slave by its path. The slave
// is kept open here too, so that the port and its settings outlive each user.
//
// Open and Close may not run while another thread uses the object.
class CPseudoTerminal {
public:
    // The error text, empty on success.
    std::string Open();

    // Hangs up: whoever still has the slave open reads 0 bytes or gets EIO.
    void Close();

    bool IsOpen() const { return m_Master.IsOpen(); }
    int MasterFd() const { return m_Master.Get(); }
    const std::string& SlavePath() const { return m_strSlavePath; }  // kept after Close

    // Return at once with the number of bytes moved, 0 when there is nothing to read or no room.
    std::size_t Read(std::span<unsigned char> bytes);
    std::size_t Write(std::span<const unsigned char> bytes);

private:
    CFileDescriptor m_Master;
    CFileDescriptor m_Slave;
    std::string m_strSlavePath;
};
