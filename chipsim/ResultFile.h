#pragma once

#include <fstream>
#include <string>

// A file that is written at the end and opened at the start: it is better not to run at all than
// to run for a result that cannot be kept. Without a path there is no file and nothing fails.
class CResultFile {
public:
    explicit CResultFile(const std::string& path);

    bool IsUsable() const { return m_strPath.empty() || m_File.good(); }

    // False when not all of it could be written.
    bool Write(const std::string& text);

    const std::string& Path() const { return m_strPath; }

private:
    const std::string m_strPath;
    std::ofstream m_File;
};
