#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "os/FileDescriptor.h"
#include "util/ByteOrder.h"

// What all fuzz targets share. A target is one source file with libFuzzer's entry function.

using Bytes = std::vector<unsigned char>;

// Ends the process when a statement about the code under test does not hold.
#define FUZZ_CHECK(condition)                                                              \
    do {                                                                                   \
        if (!(condition)) {                                                                \
            std::fprintf(stderr, "%s:%d: not true: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                  \
        }                                                                                  \
    } while (false)

// What a reader of texts sees of it.
inline std::string UpToNul(const std::string& text) {
    return text.substr(0, text.find('\0'));
}

// Hands out an input piece by piece. Past its end everything is 0 or empty.
class CFuzzInput {
public:
    CFuzzInput(const std::uint8_t* data, std::size_t size) : m_Rest(data, size) {}

    bool IsEmpty() const { return m_Rest.empty(); }

    Bytes TakeBytes(std::size_t count) {
        const auto taken = m_Rest.first(std::min(count, m_Rest.size()));
        m_Rest = m_Rest.subspan(taken.size());
        return {taken.begin(), taken.end()};
    }

    unsigned char TakeByte() {
        const Bytes bytes = TakeBytes(1);
        return bytes.empty() ? static_cast<unsigned char>(0) : bytes[0];
    }

    // Least significant byte first.
    std::uint32_t TakeWord() {
        Bytes bytes = TakeBytes(4);
        bytes.resize(4);
        return CopyLittleEndianBufferToUint32(bytes.data());
    }

    // From 0 to limit - 1.
    unsigned int TakeBelow(unsigned int limit) { return TakeByte() % limit; }

    std::string TakeRestAsText() {
        const Bytes bytes = TakeBytes(m_Rest.size());
        return {bytes.begin(), bytes.end()};
    }

private:
    std::span<const std::uint8_t> m_Rest;
};

// A file that never touches a disk, for code that wants a path.
class CMemoryFile {
public:
    const char* Path() const { return m_strPath.c_str(); }

    // Replaces the content.
    const char* Fill(const std::string& content) {
        const auto size = static_cast<ssize_t>(content.size());
        FUZZ_CHECK(ftruncate(m_File.Get(), 0) == 0);
        FUZZ_CHECK(pwrite(m_File.Get(), content.data(), content.size(), 0) == size);
        return Path();
    }

private:
    const CFileDescriptor m_File{memfd_create("fuzz", MFD_CLOEXEC)};
    const std::string m_strPath = "/proc/self/fd/" + std::to_string(m_File.Get());
};
