#include "chipsim/PortLink.h"

#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

std::string CPortLink::Create(const std::string& target, const std::string& path) {
    std::error_code code;
    if (fs::is_symlink(path, code) && !fs::exists(path, code)) {
        fs::remove(path, code);
    }
    fs::create_symlink(target, path, code);
    if (code) {
        return "cannot make the link " + path + ": " + code.message();
    }
    m_strTarget = target;
    m_strPath = path;
    m_bThere = true;
    return {};
}

void CPortLink::Remove() {
    if (!m_bThere) {
        return;
    }
    m_bThere = false;
    std::error_code code;
    if (fs::read_symlink(m_strPath, code) == m_strTarget) {
        fs::remove(m_strPath, code);
    }
}
