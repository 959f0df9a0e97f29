#include "app/Hints.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "os/FileDescriptor.h"
#include "os/Terminal.h"

namespace {

struct CRow {
    const char* m_szPart;  // of the error text; the first row that fits counts, the last fits all
    const char* m_szSection;  // of the page on troubleshooting
    const char* m_szAdvice;
};

constexpr char COMMAND_LINE[] = "The command line";
constexpr char PREPARATION[] = "Before the download";
constexpr char CUSTOM[] = "Custom downloads";
constexpr char CHIP_IS_SILENT[] =
    "the chip did not answer: is it powered and in its download mode, are RX and TX crossed, is "
    "GND connected?";

constexpr CRow COMMAND_LINE_ROWS[] = {
    {"argument VNP", COMMAND_LINE,
     "-VNP works only after -VINTORMODE, which must be the first argument"},
    {"argument VINTORMODE", COMMAND_LINE, "-VINTORMODE must be the first argument"},
    {"RULES files not allowed", COMMAND_LINE, "after -VINTORMODE, give the rules with -VNP"},
    {"Unexpected argument", COMMAND_LINE, "options start with -; hciload --help lists them"},
    {"Unrecognized command-line argument", COMMAND_LINE, "hciload --help lists the options"},
    {"", COMMAND_LINE, ""},
};

constexpr CRow DOWNLOAD_ROWS[] = {
    {"SendCommandAndWaitForCompletion call failed", PREPARATION, CHIP_IS_SILENT},
    {"VintorDownloadMinidriver failed!", PREPARATION, CHIP_IS_SILENT},
    {"Failed to execute HCI Reset", PREPARATION, CHIP_IS_SILENT},
    {"VintorPreDownloadSendMessages", PREPARATION, ""},
    {"failed to start download thread", PREPARATION, ""},
    {"Download minidriver error", "The minidriver", ""},
    {"Launch minidriver", "The minidriver", ""},
    {"VintorDownloadMinidriver: ", "The minidriver", ""},
    {"Chip erase timeout", "Chip erase", ""},
    {"Rx buffer full!", "Chip erase", ""},
    {"error trying to write", "Writing", ""},
    {"chunk not found!", "Writing", ""},
    {"error trying to verify", "Read-back", ""},
    {"Data mismatch", "Read-back", ""},
    {"Verify record request", "Read-back", ""},
    {"Error trying to read", "Reading memory", ""},
    {"Memory file cannot be written", "Reading memory", ""},
    {"CRC timeout", "CRC check", ""},
    {"CRC mismatch", "CRC check", ""},
    {"Chip reset to address", "Launch", ""},
    {"Rx", "At any time", ""},
    {"Failed to read NCD data", "The files", ""},
    {"NCD", CUSTOM, ""},
    {"NCI", CUSTOM, ""},
    {"ustom download type", CUSTOM, ""},
    {"ignature record", CUSTOM, ""},
    {" patch record", CUSTOM, ""},
    {"Must load exactly one config file", CUSTOM, ""},
    {"Cannot load", CUSTOM, ""},
    {"", "The files", ""},
};

const CRow& FindRow(const CRow* rows, const std::string& error) {
    while (error.find(rows->m_szPart) == std::string::npos) {
        ++rows;
    }
    return *rows;
}

std::string PortsOfThisMachine(const CSystemFolders& folders) {
    constexpr std::size_t MOST = 4;
    const std::vector<CSerialPortInfo> ports = ListSerialPorts(folders);
    std::string names;
    for (std::size_t i = 0; i < std::min(ports.size(), MOST); ++i) {
        names += (i == 0 ? "" : ", ") + ports[i].m_strName;
    }
    return ports.empty() ? "this machine has no serial port: is the adapter plugged in?"
                         : "this machine has " + names + (ports.size() > MOST ? ", ..." : "");
}

// Nobody for /dev/tty: that name is another terminal for each session.
std::string HoldersOf(const std::string& port, const CSystemFolders& folders) {
    return port == "/dev/tty" ? "" : DescribeSerialPort(port, folders).m_strHolders;
}

std::string AdviceForName(const std::string& port, const CSystemFolders& folders) {
    if (port.empty()) {
        return "give the chip's port with -PORT; " + PortsOfThisMachine(folders);
    }
    std::error_code ignored;
    const std::string target = std::filesystem::canonical(port, ignored);
    return target.starts_with("/dev/tty")
               ? "give this port as -PORT " + target
               : "names of ports start with /dev/tty; " + PortsOfThisMachine(folders);
}

bool IsGone(int portError) {
    return portError == ENOENT || portError == ENODEV || portError == ENXIO || portError == EIO;
}

std::string AdviceForForbidden(const std::string& name, const CSystemFolders& folders) {
    const CSerialPortInfo port = DescribeSerialPort(name, folders);
    return port.m_strMode.find("rw", 3) == 3
               ? "you may not open " + name + ": join its group, sudo usermod -aG " +
                     port.m_strGroup + " \"$USER\", then log in again"
               : "only user " + port.m_strOwner + " may open " + name + " (" + port.m_strMode + ")";
}

// It opens now, or says that it is busy: somebody holds the lock.
std::string AdviceForBusy(const std::string& port, const CSystemFolders& folders) {
    const std::string holders = HoldersOf(port, folders);
    return holders.empty() ? "another program has locked " + port
                           : port + " is held by " + holders + ": end that first";
}

std::string AdviceForPort(const CFailure& failure, const CSystemFolders& folders) {
    const std::string& port = failure.m_strPort;
    if (!failure.m_strError.starts_with("failed to open port")) {
        return failure.m_strError.starts_with("Failed to start") ? ""
                                                                 : AdviceForName(port, folders);
    }
    switch (failure.m_nPortError) {
        case 0:
        case EBUSY:
            return AdviceForBusy(port, folders);
        case EACCES:
        case EPERM:
            return AdviceForForbidden(port, folders);
        case EIO:
            return port + " has no hardware; " + PortsOfThisMachine(folders);
        default:
            return IsGone(failure.m_nPortError)
                       ? port + " is not there; " + PortsOfThisMachine(folders)
                       : port + ": " + std::strerror(failure.m_nPortError);
    }
}

std::string AdviceForDownload(const CFailure& failure, const CRow& row,
                              const CSystemFolders& folders) {
    if (failure.m_bOwnTerminal) {
        return failure.m_strPort + " is your own terminal, not the chip; " +
               PortsOfThisMachine(folders);
    }
    if (IsGone(failure.m_nPortError)) {
        return failure.m_strPort + " went away during the download: is the adapter plugged in?";
    }
    const std::string holders =
        row.m_szAdvice == CHIP_IS_SILENT ? HoldersOf(failure.m_strPort, folders) : "";
    return holders.empty() ? row.m_szAdvice
                           : holders + " may take the chip's replies: " + failure.m_strPort +
                                 " is open there, too";
}

int OpenError(const std::string& port) {
    if (!port.starts_with("/dev/tty")) {
        return 0;
    }
    const CFileDescriptor opened(open(port.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    return opened.IsOpen() ? 0 : errno;
}

}  // namespace

std::string MakeHints(const CFailure& failure, const CSystemFolders& folders) {
    CRow row = FindRow(DOWNLOAD_ROWS, failure.m_strError);
    std::string advice;
    switch (failure.m_Place) {
        case FAILED_COMMAND_LINE:
            row = FindRow(COMMAND_LINE_ROWS, failure.m_strError);
            advice = row.m_szAdvice;
            break;
        case FAILED_PORT:
            row.m_szSection = "The port";
            advice = AdviceForPort(failure, folders);
            break;
        case FAILED_DOWNLOAD:
            advice = AdviceForDownload(failure, row, folders);
            break;
    }
    return (advice.empty() ? "" : "hint: " + advice + "\n") +
           "hint: more in docs/troubleshooting.md, \"" + row.m_szSection + "\"\n";
}

std::string MakeHintBeforeDownload(const CRequest& request) {
    if (!request.m_bVintorMode || request.m_Erase != OPTION_ON) {
        return {};
    }
    const std::string memory = DescribeDownload(request).GetVintorMemoryType(nullptr);
    return memory == "EEPROM" || memory == "FLASH"
               ? ""
               : "hint: -ERASE will erase nothing: the rules must name flash or EEPROM as the "
                 "memory, as in DLConfigTargeting = FLASH\n";
}

void ShowHints(FailurePlaces place, const std::string& error, const std::string& port) {
    const CTerminal terminal(stderr);
    if (terminal.IsTerminal()) {
        const int portError = place == FAILED_COMMAND_LINE ? 0 : OpenError(port);
        ShowHint(MakeHints({place, error, port, portError, terminal.IsDevice(port)}, {}));
    }
}

void ShowHint(const std::string& hint) {
    const CTerminal terminal(stderr);
    if (terminal.IsTerminal()) {
        std::fputs(terminal.Shown(hint).c_str(), stderr);
    }
}
