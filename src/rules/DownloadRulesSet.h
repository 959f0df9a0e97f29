#pragma once

#include <string>

#include "util/NameValueTable.h"

// A named set of download parameters, read from a VNP file. Lookups ignore case. Copyable; not
// synchronised.
class CDownloadRulesSet {
public:
    explicit CDownloadRulesSet(const char* name);

    // path may carry a preset name behind "@". Returns the empty text when the file is a VNP file
    // that holds the requested set, "NA" when it is missing or no VNP file, else an error text.
    // Parameters are added to those already there.
    std::string LoadFromDownloadParametersFile(const char* path);

    // True when the file is a VNP file; *error is filled in when the requested set was not found.
    bool ProcessAsVnp(const char* path, std::string* error);

    // The value text, owned by the set, or null when the parameter is not set.
    const char* GetDownloadParameter(const char* name) const;

    // Returns an error text, empty on success.
    std::string SetDownloadParameter(const char* name, const char* value, bool allowOverride);

    // Sets every entry of the table, overriding; the first error ends it and is returned.
    std::string OverrideParameters(const CNameValueTable& table);

    const char* GetName() const { return m_strName.c_str(); }

private:
    std::string m_strName;
    CNameValueTable m_Parameters;
};
