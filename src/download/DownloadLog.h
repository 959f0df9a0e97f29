#pragma once

#include <limits>
#include <string>
#include <utility>

#include "util/FileHandle.h"

// The log file of a download: one line for each text, stamped with the time. As long as no file is
// open nothing is written. For one thread at a time.
class CDownloadLog {
public:
    CDownloadLog() = default;
    CDownloadLog(const CDownloadLog&) = delete;
    CDownloadLog& operator=(const CDownloadLog&) = delete;
    ~CDownloadLog() { Close(); }

    // Creates or truncates the file and sends the HCI traces there, too. A file that cannot be
    // opened is no error: there is no log then.
    void Open(const char* fileName);
    bool IsOpen() const { return m_pFile != nullptr; }

    // The text follows the stamp directly. A line longer than maxLength, with its stamp, is cut.
    void Write(const std::string& text,
               std::size_t maxLength = std::numeric_limits<std::size_t>::max());

    // The lines written since the last call, each with a line feed.
    std::string TakeRecentLines() { return std::exchange(m_strRecentLines, {}); }

private:
    void Close();

    CFileHandle m_pFile;
    std::string m_strRecentLines;
};
