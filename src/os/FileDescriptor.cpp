#include "os/FileDescriptor.h"

#include <unistd.h>

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
