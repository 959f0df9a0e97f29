#include "download/DownloadLog.h"

#include <algorithm>

#include "download/HciTrace.h"
#include "os/OSTime.h"
#include "util/DateTimeHolder.h"

void CDownloadLog::Open(const char* fileName) {
    Close();
    m_pFile.reset(std::fopen(fileName, "wt"));
    if (m_pFile != nullptr) {
        // Flushes each line, so that a crash loses none.
        std::setvbuf(m_pFile.get(), nullptr, _IOLBF, BUFSIZ);
    }
    fDebugPrint = m_pFile.get();
}

void CDownloadLog::Close() {
    std::FILE* ours = m_pFile.get();
    if (ours != nullptr) {
        // Another download may trace by now.
        fDebugPrint.compare_exchange_strong(ours, nullptr);
    }
    m_pFile.reset();
}

void CDownloadLog::Write(const std::string& text, std::size_t maxLength) {
    if (!IsOpen()) {
        return;
    }
    dth now;
    GetCurrentOSTime(&now);
    std::string line = CDateTimeHolder(now).AsText() + text;
    line.resize(std::min(line.size(), maxLength));
    line += '\n';
    std::fputs(line.c_str(), m_pFile.get());
    m_strRecentLines += line;
}
