#pragma once

#include <unistd.h>

#include <cstdio>
#include <string>

// Takes what is printed on a standard stream, from here to Take or to the end of the object.
class CCapturedStream {
public:
    explicit CCapturedStream(FILE* stream)
        : m_pStream(stream), m_pFile(std::tmpfile()), m_nSaved(dup(fileno(stream))) {
        std::fflush(m_pStream);
        dup2(fileno(m_pFile), fileno(m_pStream));
    }
    CCapturedStream(const CCapturedStream&) = delete;
    CCapturedStream& operator=(const CCapturedStream&) = delete;
    ~CCapturedStream() {
        Restore();
        std::fclose(m_pFile);
    }

    std::string Take() {
        Restore();
        std::string text(static_cast<std::size_t>(lseek(fileno(m_pFile), 0, SEEK_END)), '\0');
        const ssize_t got = pread(fileno(m_pFile), text.data(), text.size(), 0);
        text.resize(got < 0 ? 0 : static_cast<std::size_t>(got));
        return text;
    }

private:
    void Restore() {
        if (m_nSaved < 0) {
            return;
        }
        std::fflush(m_pStream);
        dup2(m_nSaved, fileno(m_pStream));
        close(m_nSaved);
        m_nSaved = -1;
    }

    FILE* m_pStream;
    FILE* m_pFile;
    int m_nSaved;
};
