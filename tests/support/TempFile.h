#pragma once

#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <string_view>

// A file with the given bytes that goes away with the object.
class CTempFile {
public:
    explicit CTempFile(std::string_view contents) {
        char name[] = "/tmp/hciload-test-XXXXXX";
        const int fd = mkstemp(name);
        if (fd >= 0) {
            close(fd);
        }
        m_strName = name;
        std::ofstream(m_strName, std::ios::binary)
            .write(contents.data(), static_cast<std::streamsize>(contents.size()));
    }
    CTempFile(const CTempFile&) = delete;
    CTempFile& operator=(const CTempFile&) = delete;
    ~CTempFile() { unlink(m_strName.c_str()); }

    const char* Name() const { return m_strName.c_str(); }

private:
    std::string m_strName;
};
