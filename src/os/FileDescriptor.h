#pragma once

#include <span>
#include <utility>

// Owns one descriptor and closes it. -1 stands for none.
class CFileDescriptor {
public:
    CFileDescriptor() = default;
    explicit CFileDescriptor(int fd) : m_nFd(fd) {}
    CFileDescriptor(CFileDescriptor&& other) noexcept : m_nFd(std::exchange(other.m_nFd, -1)) {}
    CFileDescriptor& operator=(CFileDescriptor&& other) noexcept;
    ~CFileDescriptor() { Close(); }

    int Get() const { return m_nFd; }
    bool IsOpen() const { return m_nFd >= 0; }
    void Close();
    // False, with errno set, when not all could be written.
    [[nodiscard]] bool WriteAll(std::span<const unsigned char> bytes) const;

private:
    int m_nFd = -1;
};
