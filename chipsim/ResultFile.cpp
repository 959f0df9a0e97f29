#include "chipsim/ResultFile.h"

CResultFile::CResultFile(const std::string& path) : m_strPath(path) {
    if (!path.empty()) {
        m_File.open(path, std::ios::binary);
    }
}

bool CResultFile::Write(const std::string& text) {
    return m_strPath.empty() || (m_File << text << std::flush).good();
}
