#pragma once

#include <sys/stat.h>

#include <cstdio>
#include <memory>
#include <string>

struct CFileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

// A standard file stream that closes itself.
using CFileHandle = std::unique_ptr<std::FILE, CFileCloser>;

// Opens a file for binary reading. Null when the path is null or empty, does not open, or names a
// directory (which POSIX opens and then refuses to read).
inline CFileHandle OpenFileForReading(const char* path) {
    if (path == nullptr || *path == '\0') {
        return nullptr;
    }
    CFileHandle file(std::fopen(path, "rb"));
    struct stat info {};
    if (file && (::fstat(::fileno(file.get()), &info) != 0 || S_ISDIR(info.st_mode))) {
        file.reset();
    }
    return file;
}

// Reads one line with its line feed, or the next maxLength characters of a longer one. False at the
// end of the file, with line empty. For files that only one thread reads.
inline bool ReadLinePiece(std::FILE* file, std::size_t maxLength, std::string& line) {
    line.clear();
    while (line.size() < maxLength) {
        const int next = ::getc_unlocked(file);
        if (next == EOF) {
            break;
        }
        line.push_back(static_cast<char>(next));
        if (next == '\n') {
            break;
        }
    }
    return !line.empty();
}
