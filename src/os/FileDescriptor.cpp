#include "os/FileDescriptor.h"

#include <unistd.h>

#include <cerrno>

CFileDescriptor& CFileDescriptor::operator=(CFileDescriptor&& other) noexcept {
    CFileDescriptor taken(std::move(other));
    std::swap(m_nFd, taken.m_nFd);
    return *this;
}

void CFileDescriptor::Close() {
    // Not repeated on EINTR: Linux has freed the number by then and may have given it away.
    if (m_nFd >= 0) {
        ::close(std::exchange(m_nFd, -1));
    }
}

bool CFileDescriptor::WriteAll(std::span<const unsigned char> bytes) const {
    while (!bytes.empty()) {
        const ssize_t written = write(m_nFd, bytes.data(), bytes.size());
        if (written >= 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}
