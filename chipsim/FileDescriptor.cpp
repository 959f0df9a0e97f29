#include "chipsim/FileDescriptor.h"

#include <unistd.h>

#include <utility>

CFileDescriptor::CFileDescriptor(CFileDescriptor&& other) noexcept
    : m_nFd(std::exchange(other.m_nFd, -1)) {}

CFileDescriptor& CFileDescriptor::operator=(CFileDescriptor&& other) noexcept {
    if (this != &other) {
        Close();
        m_nFd = std::exchange(other.m_nFd, -1);
    }
    return *this;
}

void CFileDescriptor::Close() {
    // Not repeated on EINTR: Linux has freed the number by then and may have given it away.
    if (m_nFd >= 0) {
        ::close(std::exchange(m_nFd, -1));
    }
}
