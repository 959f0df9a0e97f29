#pragma once

#include "support/TempDir.h"

// A file with the given bytes for the life of the object.
class CTempFile {
public:
    explicit CTempFile(std::string_view contents) : m_strName(m_Folder.Write("file", contents)) {}

    const char* Name() const { return m_strName.c_str(); }

private:
    const CTempDir m_Folder;
    const std::string m_strName;
};
