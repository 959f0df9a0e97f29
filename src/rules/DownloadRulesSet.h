#pragma once

#include <string>

#include "util/NameValueTable.h"

// A named set of download parameters, as a VNP file holds them. Names are compared without regard
// to case. Copyable; not synchronised.
class CDownloadRulesSet {
public:
    explicit CDownloadRulesSet(const char* name);

    // Adds the parameters of one set of the file: the one named after "@" in path, else the first.
    // Returns the empty text, "NA" if the file is missing or not a VNP file, or an error text if it
    // does not hold the set.
    std::string LoadFromDownloadParametersFile(const char* path);

    // The same; returns whether the file is a VNP file and sets *error if it does not hold the set.
    [[nodiscard]] bool ProcessAsVnp(const char* path, std::string* error);

    // The value, owned by this object; null if the parameter is not set.
    const char* GetDownloadParameter(const char* name) const;

    // Returns an error text, empty on success.
    std::string SetDownloadParameter(const char* name, const char* value, bool allowOverride);

    // Sets every entry of the table, overriding, until the first error, which it returns.
    std::string OverrideParameters(const CNameValueTable& table);

    const char* GetName() const { return m_strName.c_str(); }

    // Where the parameters were loaded from: the file, and what its set is called there. Empty if
    // they were not.
    const std::string& GetFileName() const { return m_strFileName; }
    const std::string& GetSetName() const { return m_strSetName; }

private:
    std::string m_strName;
    std::string m_strFileName;
    std::string m_strSetName;
    CNameValueTable m_Parameters;
};
