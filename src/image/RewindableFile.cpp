#include "image/RewindableFile.h"

#include <cerrno>
#include <cstddef>

namespace {

// More than any image in any format; a pipe without an end must not fill the disk.
constexpr std::size_t LARGEST_COPY = std::size_t{256} * 1024 * 1024;

CFileHandle CopyToTemporaryFile(std::FILE* source) {
    CFileHandle copy(std::tmpfile());
    char block[16384];
    std::size_t copied = 0;
    std::size_t count = 0;
    while (copy && (count = std::fread(block, 1, sizeof block, source)) > 0) {
        copied += count;
        if (copied > LARGEST_COPY || std::fwrite(block, 1, count, copy.get()) != count) {
            return nullptr;
        }
    }
    // Going back writes what is still in the buffer, and fails when the disk is full.
    const bool isComplete =
        copy && std::ferror(source) == 0 && std::fseek(copy.get(), 0, SEEK_SET) == 0;
    return isComplete ? std::move(copy) : nullptr;
}

}  // namespace

CFileHandle OpenRewindable(const char* path) {
    errno = 0;
    CFileHandle file = OpenFileForReading(path);
    if (!file || std::fseek(file.get(), 0, SEEK_SET) == 0) {
        return file;
    }
    errno = 0;
    return CopyToTemporaryFile(file.get());
}
