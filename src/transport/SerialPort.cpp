#include "transport/SerialPort.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "os/CancellationWindow.h"

namespace {

// The speed is fixed, whatever the connection's parameters say: the chips start at it, and nothing
// here tells them to change it. Starting from zero keeps hardware flow control off and makes read
// return at once.
termios MakeLineSettings() {
    termios settings{};
    settings.c_cflag = CS8 | CREAD | HUPCL | CLOCAL;
    cfsetispeed(&settings, B115200);
    cfsetospeed(&settings, B115200);
    return settings;
}

CFileDescriptor OpenDevice(const std::string& path) {
    return CFileDescriptor(open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
}

bool IsControllingTerminalAlias(int descriptor) {
    struct stat own {};
    struct stat alias {};
    return fstat(descriptor, &own) == 0 && stat("/dev/tty", &alias) == 0 &&
           own.st_rdev == alias.st_rdev;
}

// The pseudo-terminal that an alias stands for. Not open for other devices, and where the system
// does not tell.
CFileDescriptor OpenRealTerminal([[maybe_unused]] int alias) {
#ifdef TIOCGDEV
    // Linux: 12 bits of major number from bit 8 on, the minor number around them. 136 stands for
    // pseudo-terminals (Documentation/admin-guide/devices.txt of the kernel).
    unsigned int device = 0;
    if (ioctl(alias, TIOCGDEV, &device) == 0 && (device >> 8 & 0xFFF) == 136) {
        const unsigned int number = (device & 0xFF) | (device >> 12 & 0xFFF00);
        CFileDescriptor terminal = OpenDevice("/dev/pts/" + std::to_string(number));
        unsigned int opened = 0;
        if (ioctl(terminal.Get(), TIOCGDEV, &opened) == 0 && opened == device) {
            return terminal;
        }
    }
#endif
    return {};
}

bool IsHeldByAnother(int descriptor) {
    return flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

#ifdef O_ASYNC
// By default SIGIO ends the process.
void IgnoreUnhandledSigio() {
    struct sigaction action {};
    if (sigaction(SIGIO, nullptr, &action) == 0 && (action.sa_flags & SA_SIGINFO) == 0 &&
        action.sa_handler == SIG_DFL) {
        action.sa_handler = SIG_IGN;
        sigaction(SIGIO, &action, nullptr);
    }
}
#endif

template <class CALL>
auto RetryInterrupted(CALL call) {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

}  // namespace

bool CSerialPort::Open(const std::string& path) {
    m_Device = OpenDevice(path);
    if (!m_Device.IsOpen()) {
        return false;
    }
    if (!LockTerminal()) {
        Close();
        return false;
    }
    ArmSignals();
    tcflush(m_Device.Get(), TCIFLUSH);
    m_Restore.EnterAndApply(m_Device.Get(), MakeLineSettings());
    return true;
}

void CSerialPort::Close() {
    m_Restore.Leave();
    m_Terminal.Close();
    m_Device.Close();
}

ssize_t CSerialPort::WaitAndRead(std::span<unsigned char> bytes) const {
    // Stays open during the read: another process may take the bytes that poll has announced and
    // have set the line so that read waits for more.
    const CCancellationWindow window;
    pollfd line{m_Device.Get(), POLLIN, 0};
    RetryInterrupted([&] { return poll(&line, 1, -1); });
    if ((line.revents & POLLIN) == 0) {
        return -1;
    }
    return RetryInterrupted([&] { return read(m_Device.Get(), bytes.data(), bytes.size()); });
}

ssize_t CSerialPort::Write(std::span<const unsigned char> bytes) const {
    return RetryInterrupted([&] { return write(m_Device.Get(), bytes.data(), bytes.size()); });
}

// "/dev/tty" is one file for all sessions and another terminal in each of them. A lock on it would
// keep out runs on other terminals, so the terminal that it stands for is locked.
bool CSerialPort::LockTerminal() {
    if (!IsControllingTerminalAlias(m_Device.Get())) {
        return !IsHeldByAnother(m_Device.Get());
    }
    m_Terminal = OpenRealTerminal(m_Device.Get());
    return !m_Terminal.IsOpen() || !IsHeldByAnother(m_Terminal.Get());
}

// Also clears O_NONBLOCK, so that Write waits until the device takes the bytes.
void CSerialPort::ArmSignals() const {
#ifdef O_ASYNC
    IgnoreUnhandledSigio();
    fcntl(m_Device.Get(), F_SETOWN, getpid());
    fcntl(m_Device.Get(), F_SETFL, O_ASYNC);
#else
    fcntl(m_Device.Get(), F_SETFL, 0);
#endif
}
