#pragma once

#include <string>
#include <vector>

// Where the system tells of its devices and processes.
struct CSystemFolders {
    std::string m_strDev = "/dev";
    std::string m_strSys = "/sys";
    std::string m_strProc = "/proc";
};

// What the system tells of a serial port; empty where it tells nothing.
struct CSerialPortInfo {
    std::string m_strName;
    std::string m_strLastingName;  // under /dev/serial/by-id: stays when ports are renumbered
    std::string m_strDriver;
    std::string m_strOwner;
    std::string m_strGroup;
    std::string m_strMode;     // such as "rw-rw----"
    bool m_bMayOpen = false;   // this user may, whatever gives the right
    std::string m_strHolders;  // other processes that have it open: "minicom (4711), cat (12)"
};

// The machine's serial ports by name, links such as /dev/ttyBOARD included: every name that
// hciload accepts, but for virtual consoles. Linux only; elsewhere the list is empty.
std::vector<CSerialPortInfo> ListSerialPorts(const CSystemFolders& folders);

// The same for one port, which need not exist. Of the processes, the kernel shows those of other
// users to root only.
CSerialPortInfo DescribeSerialPort(const std::string& name, const CSystemFolders& folders);
