#include "util/WholeFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <span>
#include <system_error>

#include "os/FileDescriptor.h"

namespace {

// Whether a new file may take the place.
bool IsReplaceable(const std::string& place) {
    struct stat info {};
    return stat(place.c_str(), &info) == 0 ? S_ISREG(info.st_mode) : errno == ENOENT;
}

// Where links lead, whether there is a file or not.
std::string FollowLinks(std::filesystem::path place) {
    std::error_code ignored;
    while (IsReplaceable(place) && std::filesystem::is_symlink(place, ignored)) {
        place = place.parent_path() / std::filesystem::read_symlink(place, ignored);
    }
    return place.string();
}

bool Rename(const std::string& file, const std::string& place) {
    return std::rename(file.c_str(), place.c_str()) == 0;
}

// The same, but not at once on the disk. On ext4, a rename over a file waits until the new one is
// on its way to the disk, often longer than it took to make it; an exchange does not.
bool Replace(const std::string& file, const std::string& place) {
#if defined(RENAME_EXCHANGE)
    if (renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, place.c_str(), RENAME_EXCHANGE) == 0) {
        unlink(file.c_str());  // now the old one
        return true;
    }
#endif
    return Rename(file, place);
}

std::string ReasonUnless(bool isDone) {
    return isDone ? "" : std::strerror(errno);
}

}  // namespace

std::string CWholeFile::Open(const std::string& path) {
    m_strPlace = FollowLinks(path);
    if (!IsReplaceable(m_strPlace)) {
        m_File = CFileDescriptor(open(m_strPlace.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC));
        return ReasonUnless(m_File.IsOpen());
    }
    const std::size_t slash = m_strPlace.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : m_strPlace.substr(0, slash + 1);
    const std::string start = folder + ".hciload." + std::to_string(getpid()) + ".";
    // With O_EXCL, nobody's link leads elsewhere. Leftovers of a crash may have such names.
    for (int i = 0; i < 100 && !m_File.IsOpen() && (i == 0 || errno == EEXIST); ++i) {
        m_strTemporary = start + std::to_string(i);
        m_File = CFileDescriptor(
            open(m_strTemporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    }
    struct stat old {};
    if (m_File.IsOpen() && stat(m_strPlace.c_str(), &old) == 0) {
        fchmod(m_File.Get(), old.st_mode & 07777);
    }
    return ReasonUnless(m_File.IsOpen());
}

void CWholeFile::Write(std::string_view content) {
    const std::span bytes(reinterpret_cast<const unsigned char*>(content.data()), content.size());
    if (m_nWriteError == 0 && !m_File.WriteAll(bytes)) {
        m_nWriteError = errno;
    }
}

std::string CWholeFile::PutInPlace(bool isDurable) {
    errno = m_nWriteError;
    const bool isWritten = m_nWriteError == 0;
    if (m_strTemporary.empty() || !isWritten) {
        return ReasonUnless(isWritten);
    }
    const bool isInPlace = isDurable
                               ? fsync(m_File.Get()) == 0 && Rename(m_strTemporary, m_strPlace)
                               : Replace(m_strTemporary, m_strPlace);
    if (isInPlace) {
        m_File.Close();
    }
    return ReasonUnless(isInPlace);
}

void CWholeFile::RemoveTemporary() {
    if (m_File.IsOpen() && !m_strTemporary.empty()) {
        unlink(m_strTemporary.c_str());
    }
}

std::string WriteWholeFile(const std::string& path, std::string_view content) {
    CWholeFile file;
    std::string reason = file.Open(path);
    if (reason.empty()) {
        file.Write(content);
        reason = file.PutInPlace(true);
    }
    return reason;
}

std::string CheckWholeFile(const std::string& path) {
    const std::string place = FollowLinks(path);
    if (!IsReplaceable(place)) {
        std::error_code ignored;
        const bool isFolder = std::filesystem::is_directory(place, ignored);
        // A pipe is not opened: that would wait for its reader.
        return isFolder ? std::strerror(EISDIR) : ReasonUnless(access(place.c_str(), W_OK) == 0);
    }
    return CWholeFile().Open(path);
}

std::string MakeRoomForWholeFile(const std::string& path) {
    const std::string reason = CheckWholeFile(path);
    const std::string place = FollowLinks(path);
    return reason.empty() && IsReplaceable(place)
               ? ReasonUnless(unlink(place.c_str()) == 0 || errno == ENOENT)
               : reason;
}
