#include "transport/SerialPortList.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <utility>

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> EntriesOf(const fs::path& folder) {
    std::error_code ignored;
    std::vector<fs::path> entries;
    for (fs::directory_iterator at(folder, ignored), end; !ignored && at != end;
         at.increment(ignored)) {
        entries.push_back(at->path());
    }
    return entries;
}

fs::path Resolved(const fs::path& path) {
    std::error_code ignored;
    const fs::path target = fs::canonical(path, ignored);
    return target.empty() ? path : target;
}

std::string LinkTarget(const fs::path& link) {
    std::error_code ignored;
    return fs::read_symlink(link, ignored).string();
}

std::string LineIn(const fs::path& file) {
    std::ifstream in(file);
    std::string line;
    std::getline(in, line);
    return line;
}

// Consoles have no device. A kernel lists more ports of the PC kind than there are, those with type
// 0 (unknown).
bool IsPort(const fs::path& sysEntry) {
    std::error_code ignored;
    return fs::exists(sysEntry / "device", ignored) && LineIn(sysEntry / "type") != "0";
}

// Newer kernels put devices of their own, on the bus "serial-base", below the one that has the
// driver.
std::string DriverOf(const fs::path& sysEntry) {
    fs::path device = Resolved(sysEntry / "device");
    while (fs::path(LinkTarget(device / "subsystem")).filename() == "serial-base") {
        device = device.parent_path();
    }
    return fs::path(LinkTarget(device / "driver")).filename();
}

std::string LastingNameOf(const fs::path& device, const fs::path& dev) {
    for (const fs::path& link : EntriesOf(dev / "serial" / "by-id")) {
        if (Resolved(link) == device) {
            return link;
        }
    }
    return {};
}

bool HasOpen(const fs::path& process, const fs::path& file) {
    const std::vector<fs::path> open = EntriesOf(process / "fd");
    return std::any_of(open.begin(), open.end(),
                       [&](const fs::path& link) { return LinkTarget(link) == file; });
}

// Who plays the chip on a pseudo-terminal holds both ends of it, and does not count.
std::string HoldersOf(const fs::path& device, const CSystemFolders& folders) {
    const fs::path dev = folders.m_strDev;
    const bool isPseudo = device.parent_path() == Resolved(dev / "pts");
    std::string holders;
    for (const fs::path& process : EntriesOf(folders.m_strProc)) {
        const std::string number = process.filename();
        if (number.find_first_not_of("0123456789") == std::string::npos &&
            number != std::to_string(getpid()) && HasOpen(process, device) &&
            !(isPseudo && HasOpen(process, dev / "ptmx"))) {
            holders +=
                (holders.empty() ? "" : ", ") + LineIn(process / "comm") + " (" + number + ")";
        }
    }
    return holders;
}

void DescribeAccess(CSerialPortInfo& port) {
    struct stat info {};
    if (stat(port.m_strName.c_str(), &info) != 0) {
        return;
    }
    const passwd* const owner = getpwuid(info.st_uid);
    const group* const owners = getgrgid(info.st_gid);
    port.m_strOwner = owner == nullptr ? std::to_string(info.st_uid) : owner->pw_name;
    port.m_strGroup = owners == nullptr ? std::to_string(info.st_gid) : owners->gr_name;
    port.m_bMayOpen = access(port.m_strName.c_str(), R_OK | W_OK) == 0;
    constexpr char RIGHTS[] = "rwxrwxrwx";
    for (unsigned int i = 0; i < sizeof RIGHTS - 1; ++i) {
        port.m_strMode += (info.st_mode & (0400U >> i)) != 0 ? RIGHTS[i] : '-';
    }
}

}  // namespace

std::vector<CSerialPortInfo> ListSerialPorts(const CSystemFolders& folders) {
    const fs::path dev = folders.m_strDev;
    std::vector<std::string> names;
    for (const fs::path& entry : EntriesOf(fs::path(folders.m_strSys) / "class" / "tty")) {
        const fs::path name = dev / entry.filename();
        std::error_code ignored;
        if (IsPort(entry) && fs::exists(name, ignored)) {
            names.push_back(name);
        }
    }
    for (const fs::path& entry : EntriesOf(dev)) {
        std::error_code ignored;
        if (entry.filename().string().starts_with("tty") && fs::is_symlink(entry, ignored) &&
            fs::exists(entry, ignored)) {
            names.push_back(entry);
        }
    }
    // ttyUSB9 before ttyUSB10.
    std::sort(names.begin(), names.end(), [](const std::string& left, const std::string& right) {
        return std::pair(left.size(), left) < std::pair(right.size(), right);
    });
    std::vector<CSerialPortInfo> ports;
    ports.reserve(names.size());
    for (const std::string& name : names) {
        ports.push_back(DescribeSerialPort(name, folders));
    }
    return ports;
}

CSerialPortInfo DescribeSerialPort(const std::string& name, const CSystemFolders& folders) {
    const fs::path device = Resolved(name);
    CSerialPortInfo port;
    port.m_strName = name;
    port.m_strLastingName = LastingNameOf(device, folders.m_strDev);
    port.m_strDriver = DriverOf(fs::path(folders.m_strSys) / "class" / "tty" / device.filename());
    DescribeAccess(port);
    port.m_strHolders = HoldersOf(device, folders);
    return port;
}
