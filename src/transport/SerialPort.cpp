#include "transport/SerialPort.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "os/CancellationWindow.h"
#include "transport/TerminalSettings.h"

namespace {

// Linux numbers its pseudo-terminals from the first of these on (Documentation/admin-guide/
// devices.txt of the kernel).
constexpr unsigned int FIRST_PTS_MAJOR = 136;
constexpr unsigned int LAST_PTS_MAJOR = 143;

bool IsControllingTerminalAlias(dev_t device) {
    return device == makedev(5, 0);
}

// The device a terminal descriptor really stands for; 0 when the system does not tell.
dev_t RealTerminal(int descriptor) {
#ifdef TIOCGDEV
    unsigned int device = 0;
    if (ioctl(descriptor, TIOCGDEV, &device) == 0) {
        // The kernel packs 12 bits of major and 20 bits of minor number.
        return makedev((device >> 8) & 0xFFF, (device & 0xFF) | ((device >> 12) & 0xFFF00));
    }
#else
    (void)descriptor;
#endif
    return 0;
}

dev_t DeviceOf(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 ? status.st_rdev : 0;
}

// A descriptor on the device itself; -1 when there is no name for it.
int OpenRealTerminal(dev_t device) {
    if (major(device) < FIRST_PTS_MAJOR || major(device) > LAST_PTS_MAJOR) {
        return -1;
    }
    const unsigned int number = (major(device) - FIRST_PTS_MAJOR) * 256 + minor(device);
    const std::string path = "/dev/pts/" + std::to_string(number);
    const int descriptor = open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor >= 0 && DeviceOf(descriptor) != device) {
        close(descriptor);
        return -1;
    }
    return descriptor;
}

bool IsHeldByAnother(int descriptor) {
    return flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

// On Linux a SIGIO that nobody has settled ends the process, so this comes before the descriptor
// is armed.
void IgnoreUnsettledSigio() {
    struct sigaction action {};
    if (sigaction(SIGIO, nullptr, &action) == 0 && (action.sa_flags & SA_SIGINFO) == 0 &&
        action.sa_handler == SIG_DFL) {
        action.sa_handler = SIG_IGN;
        sigaction(SIGIO, &action, nullptr);
    }
}

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
    m_nDescriptor = open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (m_nDescriptor < 0) {
        return false;
    }
    if (!LockTerminal()) {
        Close();
        return false;
    }
    return true;
}

// "/dev/tty" is one file for all sessions and another terminal in each of them. A lock on it would
// keep out runs on other terminals, so the terminal behind it is locked.
bool CSerialPort::LockTerminal() {
    if (!IsControllingTerminalAlias(DeviceOf(m_nDescriptor))) {
        return !IsHeldByAnother(m_nDescriptor);
    }
    m_nLockDescriptor = OpenRealTerminal(RealTerminal(m_nDescriptor));
    return m_nLockDescriptor < 0 || !IsHeldByAnother(m_nLockDescriptor);
}

void CSerialPort::ArmSignals() {
    IgnoreUnsettledSigio();
    fcntl(m_nDescriptor, F_SETOWN, getpid());
    fcntl(m_nDescriptor, F_SETFL, O_ASYNC);
}

void CSerialPort::SetUpLine() {
    m_bSaved = tcgetattr(m_nDescriptor, &m_SavedSettings) == 0;
    if (!m_bSaved) {
        return;
    }
    tcflush(m_nDescriptor, TCIFLUSH);
    m_RestoreOnSignal.EnterAndApply(m_nDescriptor, m_SavedSettings, MakeLineSettings());
}

void CSerialPort::Close() {
    if (m_bSaved) {
        tcsetattr(m_nDescriptor, TCSANOW, &m_SavedSettings);
        m_bSaved = false;
    }
    m_RestoreOnSignal.Leave();
    if (m_nLockDescriptor >= 0) {
        close(m_nLockDescriptor);
        m_nLockDescriptor = -1;
    }
    if (m_nDescriptor >= 0) {
        close(m_nDescriptor);
        m_nDescriptor = -1;
    }
}

ssize_t CSerialPort::WaitAndRead(std::span<unsigned char> bytes) const {
    // Open for read as well: another process may take the bytes that poll has announced and have
    // set the line so that read waits for more.
    const CCancellationWindow window;
    pollfd line{m_nDescriptor, POLLIN, 0};
    RetryInterrupted([&] { return poll(&line, 1, -1); });
    if ((line.revents & POLLIN) == 0) {
        return -1;
    }
    return RetryInterrupted([&] { return read(m_nDescriptor, bytes.data(), bytes.size()); });
}

ssize_t CSerialPort::Write(std::span<const unsigned char> bytes) const {
    return RetryInterrupted([&] { return write(m_nDescriptor, bytes.data(), bytes.size()); });
}
