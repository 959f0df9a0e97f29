#pragma once

#include <string>
#include <string_view>

#include "os/FileDescriptor.h"

// Writes a file that appears as a whole: the content goes to a temporary file in the same folder,
// which then takes the name, so that no reader ever sees a part of it. Without PutInPlace an
// existing file stays as it was, and no new one appears. A link stays and leads to the new file.
// Devices and pipes are written to directly.
//
// Reasons are the system's texts, empty on success.
class CWholeFile {
public:
    CWholeFile() = default;
    CWholeFile(const CWholeFile&) = delete;
    CWholeFile& operator=(const CWholeFile&) = delete;
    ~CWholeFile() { RemoveTemporary(); }

    // An existing file hands its permissions on.
    [[nodiscard]] std::string Open(const std::string& path);
    // In large pieces: there is no buffer. PutInPlace tells what went wrong.
    void Write(std::string_view content);
    // With isDurable, also a power failure leaves the old file or the new one, which takes as long
    // as the disk takes.
    [[nodiscard]] std::string PutInPlace(bool isDurable);

private:
    void RemoveTemporary();

    std::string m_strPlace;
    std::string m_strTemporary;  // empty = the place is written to directly
    CFileDescriptor m_File;
    int m_nWriteError = 0;  // errno
};

// All in one, durable.
[[nodiscard]] std::string WriteWholeFile(const std::string& path, std::string_view content);

// Checks that the file can be written. An existing one stays.
[[nodiscard]] std::string CheckWholeFile(const std::string& path);

// The same, and removes an existing one: what is there later is new.
[[nodiscard]] std::string MakeRoomForWholeFile(const std::string& path);
