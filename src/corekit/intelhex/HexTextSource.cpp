#include "corekit/intelhex/HexTextSource.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "util/TextLines.h"

void CHexTextSource::Open(std::FILE* file) {
    Close();
    m_pFile = file;
    if (!m_pBlock) {
        m_pBlock = std::make_unique_for_overwrite<char[]>(BLOCK_SIZE);
    }
}

void CHexTextSource::Close() {
    m_pFile = nullptr;
    m_nNext = 0;
    m_nEnd = 0;
    m_nReadError = 0;
}

void CHexTextSource::Fill() {
    // The read text is dropped only when its room is needed, for Rewind.
    if (m_nEnd == BLOCK_SIZE) {
        std::memmove(m_pBlock.get(), m_pBlock.get() + m_nNext, GetTextSize());
        m_nEnd -= m_nNext;
        m_nNext = 0;
    }
    if (m_nReadError != 0 || std::feof(m_pFile) != 0) {
        return;
    }
    m_nEnd += std::fread(m_pBlock.get() + m_nEnd, 1, BLOCK_SIZE - m_nEnd, m_pFile);
    if (std::ferror(m_pFile) != 0) {
        m_nReadError = errno;
    }
}

bool CHexTextSource::ReadLine(std::string& line, std::string* error) {
    const char* text = GetText();
    const std::size_t size = std::min(GetTextSize(), LINE_BUFFER_SIZE - 1);
    if (size == 0) {
        if (m_nReadError != 0) {
            *error = std::string("Failed to read intel hex data: ") + std::strerror(m_nReadError);
        }
        return false;
    }
    const void* lineFeed = std::memchr(text, '\n', size);
    const std::size_t used =
        lineFeed == nullptr
            ? size
            : static_cast<std::size_t>(static_cast<const char*>(lineFeed) - text) + 1;
    Skip(used);
    line.assign(text, used);
    line.resize(std::min(line.find('\0'), used));
    while (!line.empty() && IsWhiteSpace(line.back())) {
        line.pop_back();
    }
    return true;
}
