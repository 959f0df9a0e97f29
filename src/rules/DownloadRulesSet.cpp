#include "rules/DownloadRulesSet.h"

#include "rules/VnpFile.h"

CDownloadRulesSet::CDownloadRulesSet(const char* name) : m_strName(name == nullptr ? "" : name) {}

std::string CDownloadRulesSet::LoadFromDownloadParametersFile(const char* path) {
    std::string error;
    return ProcessAsVnp(path, &error) ? error : "NA";
}

bool CDownloadRulesSet::ProcessAsVnp(const char* path, std::string* error) {
    CVnpSet set;
    if (!ReadVnpSet(path == nullptr ? "" : path, set, error)) {
        return false;
    }
    m_strFileName = set.m_strFileName;
    m_strSetName = set.m_strName;
    for (const CVnpParameter& parameter : set.m_Parameters) {
        // Refused are parameters without a name or a value, and repeated ones, where the first
        // value stays. Such lines are common in these files and must not keep the others from being
        // used.
        SetDownloadParameter(parameter.m_strName.c_str(), parameter.m_strValue.c_str(), false);
    }
    return true;
}

const char* CDownloadRulesSet::GetDownloadParameter(const char* name) const {
    return m_Parameters.FindValueFromName(name);
}

std::string CDownloadRulesSet::SetDownloadParameter(const char* name, const char* value,
                                                    bool allowOverride) {
    if (name == nullptr || *name == '\0') {
        return "NULL or empty parameter name";
    }
    if (value == nullptr || *value == '\0') {
        return "NULL or empty parameter value";
    }
    if (GetDownloadParameter(name) != nullptr) {
        if (!allowOverride) {
            return std::string("Parameter ") + name + " already exists";
        }
        // A copy: value may point into the entry that is removed here.
        const std::string newValue(value);
        m_Parameters.RemoveValue(name);
        return m_Parameters.AddValue(name, newValue.c_str());
    }
    return m_Parameters.AddValue(name, value);
}

std::string CDownloadRulesSet::OverrideParameters(const CNameValueTable& table) {
    std::vector<std::string> names;
    std::vector<std::string> values;
    table.GetAllNamesAndValues(names, values);
    for (std::size_t i = 0; i < names.size(); ++i) {
        std::string error = SetDownloadParameter(names[i].c_str(), values[i].c_str(), true);
        if (!error.empty()) {
            return error;
        }
    }
    return {};
}
