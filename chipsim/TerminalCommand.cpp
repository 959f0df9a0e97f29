#include "chipsim/TerminalCommand.h"

#include <fcntl.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <system_error>

#include "os/FileDescriptor.h"

namespace {

constexpr int NOT_FOUND = 127;
constexpr int CANNOT_RUN = 126;

int ExitStatus(int waitStatus) {
    return WIFSIGNALED(waitStatus) ? 128 + WTERMSIG(waitStatus) : WEXITSTATUS(waitStatus);
}

int WaitForChild(pid_t pid, int options, int* status) {
    for (;;) {
        const pid_t got = ::waitpid(pid, status, options);
        if (got >= 0 || errno != EINTR) {
            return got;
        }
    }
}

// Waits until the other end of the pipe is closed everywhere.
void WaitForEnd(int fd) {
    char byte = 0;
    while (::read(fd, &byte, 1) < 0 && errno == EINTR) {
    }
}

// From here to the exec only calls that are safe after a fork of a program with threads.
void Complain(const char* what, const char* name, int error) {
    const char* const parts[] = {"chipsim: ", what, name, ": ", ::strerrordesc_np(error), "\n"};
    for (const char* part : parts) {
        if (::write(STDERR_FILENO, part, ::strlen(part)) < 0) {
            return;
        }
    }
}

[[noreturn]] void BecomeCommand(char* const* argv, const sigset_t& mask) {
    ::sigprocmask(SIG_SETMASK, &mask, nullptr);
    ::execvp(argv[0], argv);
    const int error = errno;
    Complain("cannot run ", argv[0], error);
    ::_exit(error == ENOENT ? NOT_FOUND : CANNOT_RUN);
}

bool TakeControllingTerminal(const char* path) {
    if (::setsid() < 0) {
        return false;
    }
    const int fd = ::open(path, O_RDWR | O_CLOEXEC);
    // On Linux opening it is enough; asking again does no harm.
    return fd >= 0 && ::ioctl(fd, TIOCSCTTY, 0) == 0 && ::close(fd) == 0;
}

[[noreturn]] void LeadSession(const char* terminalPath, char* const* argv, const sigset_t& mask) {
    sigset_t all;
    ::sigfillset(&all);
    ::sigprocmask(SIG_SETMASK, &all, nullptr);
    if (!TakeControllingTerminal(terminalPath)) {
        Complain("cannot take over the terminal ", terminalPath, errno);
        ::_exit(CANNOT_RUN);
    }
    const pid_t command = ::_Fork();
    if (command == 0) {
        BecomeCommand(argv, mask);
    }
    if (command < 0) {
        Complain("cannot run ", argv[0], errno);
        ::_exit(CANNOT_RUN);
    }
    // This process keeps nothing open: neither the port's other end, which its owner may close, nor
    // the pipe whose end says that the command runs.
    ::close_range(0, std::numeric_limits<unsigned int>::max(), 0);
    int status = 0;
    if (WaitForChild(command, 0, &status) < 0) {
        ::_exit(CANNOT_RUN);
    }
    ::_exit(ExitStatus(status));
}

}  // namespace

std::string CTerminalCommand::Start(const std::string& terminalPath,
                                    const std::vector<std::string>& argv) {
    std::vector<std::string> copies = argv;
    std::vector<char*> pointers;
    pointers.reserve(copies.size() + 1);
    for (std::string& text : copies) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        return "cannot make a pipe: " + std::generic_category().message(errno);
    }
    const CFileDescriptor started(ends[0]);
    CFileDescriptor startedInChild(ends[1]);
    const pid_t pid = ::fork();
    if (pid == 0) {
        LeadSession(terminalPath.c_str(), pointers.data(), m_Mask);
    }
    if (pid < 0) {
        return "cannot start a process: " + std::generic_category().message(errno);
    }
    m_nLeader = pid;
    startedInChild.Close();
    WaitForEnd(started.Get());
    return {};
}

std::optional<int> CTerminalCommand::Collect(int options) {
    int status = 0;
    if (!m_Status && WaitForChild(m_nLeader, options, &status) == m_nLeader) {
        m_Status = ExitStatus(status);
    }
    return m_Status;
}

std::optional<int> CTerminalCommand::Poll() {
    return Collect(WNOHANG);
}

int CTerminalCommand::Wait() {
    return Collect(0).value_or(CANNOT_RUN);
}

void CTerminalCommand::Signal(int number) const {
    if (m_nLeader > 0 && !m_Status) {
        ::kill(-m_nLeader, number);
    }
}
