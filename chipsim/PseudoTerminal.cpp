#include "chipsim/PseudoTerminal.h"

#include <fcntl.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace {

std::string ErrorText(const char* what) {
    const std::error_code code(errno, std::generic_category());
    return std::string("cannot ") + what + ": " + code.message();
}

bool MakeRaw(int fd) {
    termios settings{};
    if (::tcgetattr(fd, &settings) != 0) {
        return false;
    }
    ::cfmakeraw(&settings);
    return ::tcsetattr(fd, TCSANOW, &settings) == 0;
}

std::size_t BytesMoved(ssize_t result) {
    return result > 0 ? static_cast<std::size_t>(result) : 0;
}

}  // namespace

std::string CPseudoTerminal::Open() {
    CFileDescriptor master(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK));
    if (!master.IsOpen()) {
        return ErrorText("open a pseudo-terminal");
    }
    char path[128];
    if (::grantpt(master.Get()) != 0 || ::unlockpt(master.Get()) != 0 ||
        ::ptsname_r(master.Get(), path, sizeof path) != 0) {
        return ErrorText("set up a pseudo-terminal");
    }
    CFileDescriptor slave(::open(path, O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (!slave.IsOpen() || !MakeRaw(slave.Get())) {
        return ErrorText("open the pseudo-terminal's other end");
    }
    m_Master = std::move(master);
    m_Slave = std::move(slave);
    m_strSlavePath = path;
    return {};
}

void CPseudoTerminal::Close() {
    m_Slave.Close();
    m_Master.Close();
}

std::size_t CPseudoTerminal::Read(std::span<unsigned char> bytes) {
    return BytesMoved(::read(m_Master.Get(), bytes.data(), bytes.size()));
}

std::size_t CPseudoTerminal::Write(std::span<const unsigned char> bytes) {
    return BytesMoved(::write(m_Master.Get(), bytes.data(), bytes.size()));
}
