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

// Creates a file beside its final place. It removes itself unless it gets there.
class CTemporaryFile {
public:
    explicit CTemporaryFile(const std::string& path) {
        const std::string folder = path.substr(0, path.rfind('/') + 1);
        // With O_EXCL, nobody's link leads elsewhere. Leftovers of a crash may have such names.
        for (int i = 0; i < 100 && !m_File.IsOpen(); ++i) {
            m_strName = folder + ".hciload." + std::to_string(getpid()) + "." + std::to_string(i);
            m_File = CFileDescriptor(
                open(m_strName.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
            if (!m_File.IsOpen() && errno != EEXIST) {
                return;
            }
        }
    }
    CTemporaryFile(const CTemporaryFile&) = delete;
    CTemporaryFile& operator=(const CTemporaryFile&) = delete;
    ~CTemporaryFile() {
        if (m_File.IsOpen()) {
            unlink(m_strName.c_str());
        }
    }

    const CFileDescriptor& File() const { return m_File; }
    bool MoveTo(const std::string& path) {
        // On the disk before the name is: a power failure leaves no empty file.
        if (fsync(m_File.Get()) != 0 || std::rename(m_strName.c_str(), path.c_str()) != 0) {
            return false;
        }
        m_File.Close();
        return true;
    }

private:
    std::string m_strName;
    CFileDescriptor m_File;
};

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

std::string ReasonUnless(bool isDone) {
    return isDone ? "" : std::strerror(errno);
}

}  // namespace

std::string WriteWholeFile(const std::string& path, std::string_view content) {
    const std::string place = FollowLinks(path);
    const std::span bytes(reinterpret_cast<const unsigned char*>(content.data()), content.size());
    if (IsReplaceable(place)) {
        CTemporaryFile temporary(place);
        return ReasonUnless(temporary.File().IsOpen() && temporary.File().WriteAll(bytes) &&
                            temporary.MoveTo(place));
    }
    const CFileDescriptor file(open(place.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC));
    return ReasonUnless(file.IsOpen() && file.WriteAll(bytes));
}

std::string MakeRoomForWholeFile(const std::string& path) {
    const std::string place = FollowLinks(path);
    if (!IsReplaceable(place)) {
        std::error_code ignored;
        const bool isFolder = std::filesystem::is_directory(place, ignored);
        // A pipe is not opened: that would wait for its reader.
        return isFolder ? std::strerror(EISDIR) : ReasonUnless(access(place.c_str(), W_OK) == 0);
    }
    const CTemporaryFile trial(place);
    return ReasonUnless(trial.File().IsOpen() && (unlink(place.c_str()) == 0 || errno == ENOENT));
}
