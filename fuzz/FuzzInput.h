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

// What all fuzz targets share. A target is one source file with libFuzzer's entry function.

// Ends the process when a statement about the code under test does not hold.
#define FUZZ_CHECK(condition)                                                              \
    do {                                                                                   \
        if (!(condition)) {                                                                \
            std::fprintf(stderr, "%s:%d: not true: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                  \
        }                                                                                  \
    } while (false)

// What a reader of texts sees of it.
inline std::string UpToNul(std::string text) {
    text.resize(std::min(text.find('\0'), text.size()));
    return text;
}

// Hands out an input piece by piece. Past its end everything is 0 or empty.
class CFuzzInput {
public:
    CFuzzInput(const std::uint8_t* data, std::size_t size) : m_Rest(data, size) {}

    bool IsEmpty() const { return m_Rest.empty(); }

    unsigned char TakeByte() {
        const auto bytes = TakeBytes(1);
        return bytes.empty() ? static_cast<unsigned char>(0) : bytes[0];
    }

    // Least significant byte first.
    std::uint32_t TakeWord() {
        std::uint32_t word = 0;
        int shift = 0;
        for (const unsigned char byte : TakeBytes(4)) {
            word |= std::uint32_t{byte} << shift;
            shift += 8;
        }
        return word;
    }

    // From 0 to limit - 1.
    unsigned int TakeBelow(unsigned int limit) { return TakeByte() % limit; }

    std::vector<unsigned char> TakeBytes(std::size_t count) {
        count = std::min(count, m_Rest.size());
        std::vector<unsigned char> bytes(m_Rest.begin(),
                                         m_Rest.begin() + static_cast<std::ptrdiff_t>(count));
        m_Rest = m_Rest.subspan(count);
        return bytes;
    }

    std::vector<unsigned char> TakeRest() { return TakeBytes(m_Rest.size()); }

    std::string TakeRestAsText() {
        const auto bytes = TakeRest();
        return {bytes.begin(), bytes.end()};
    }

private:
    std::span<const std::uint8_t> m_Rest;
};

// A file that never touches a disk, for code that wants a path.
class CMemoryFile {
public:
    CMemoryFile()
        : m_hFile(memfd_create("fuzz", MFD_CLOEXEC)),
          m_strPath("/proc/self/fd/" + std::to_string(m_hFile)) {
        FUZZ_CHECK(m_hFile >= 0);
    }
    CMemoryFile(const CMemoryFile&) = delete;
    CMemoryFile& operator=(const CMemoryFile&) = delete;
    ~CMemoryFile() { close(m_hFile); }

    // Replaces the content.
    const char* Fill(const void* content, std::size_t size) {
        FUZZ_CHECK(ftruncate(m_hFile, 0) == 0);
        FUZZ_CHECK(pwrite(m_hFile, content, size, 0) == static_cast<ssize_t>(size));
        return Path();
    }
    const char* Fill(const std::string& content) { return Fill(content.data(), content.size()); }

    const char* Path() const { return m_strPath.c_str(); }

private:
    int m_hFile;
    std::string m_strPath;
};
