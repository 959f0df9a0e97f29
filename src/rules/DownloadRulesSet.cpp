#include "rules/DownloadRulesSet.h"

#include <cstdio>
#include <cstring>
#include <string_view>
#include <vector>

#include "util/FileHandle.h"
#include "util/TextLines.h"

namespace {

constexpr std::string_view SET_MARK = "DevicePreset";
constexpr std::size_t FIRST_LINE_LENGTH = 249;
constexpr std::size_t LINE_LENGTH = 1019;

// "file", or "file@preset" with or without quotes around the preset.
struct VNP_SOURCE {
    std::string fileName;
    std::string quotedPreset;  // empty: the first set
};

VNP_SOURCE SplitPath(const std::string& path) {
    const std::size_t at = path.find('@');
    if (at == std::string::npos) {
        return {path, ""};
    }
    std::string preset = path.substr(at + 1);
    if (!IsDoubleQuoted(preset.c_str())) {
        preset = '"' + preset + '"';
    }
    return {path.substr(0, at), preset == "\"\"" ? "" : preset};
}

// A line that is too long comes in pieces, each a line of its own. A NUL ends its piece.
bool ReadVnpLine(std::FILE* file, std::size_t maxLength, std::string& line) {
    const bool found = ReadLinePiece(file, maxLength, line);
    line.resize(std::strlen(line.c_str()));
    return found;
}

bool StartsSet(std::string_view line) {
    return line.starts_with(SET_MARK);
}

bool IsWantedSet(const std::string& line, const VNP_SOURCE& source) {
    return source.quotedPreset.empty() || line.find(source.quotedPreset) != std::string::npos;
}

std::string QuotedText(const std::string& line) {
    const std::size_t start = line.find('"');
    const std::size_t end = line.find('"', start + 1);
    return end == std::string::npos ? "" : line.substr(start + 1, end - start - 1);
}

void StoreParameterLine(CDownloadRulesSet& rules, std::string_view line) {
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) {
        return;
    }
    const std::string name(TrimmedView(line.substr(0, equals)));
    std::string value(TrimmedView(line.substr(equals + 1)));
    if (IsDoubleQuoted(value.c_str())) {
        value = value.substr(1, value.size() - 2);
    }
    // Refused are parameters without a name or a value, and repeated ones, where the first value
    // stays. Such lines are common in these files and must not keep the others from being used.
    rules.SetDownloadParameter(name.c_str(), value.c_str(), false);
}

}  // namespace

CDownloadRulesSet::CDownloadRulesSet(const char* name) : m_strName(name == nullptr ? "" : name) {}

std::string CDownloadRulesSet::LoadFromDownloadParametersFile(const char* path) {
    std::string error;
    return ProcessAsVnp(path, &error) ? error : "NA";
}

bool CDownloadRulesSet::ProcessAsVnp(const char* path, std::string* error) {
    const VNP_SOURCE source = SplitPath(path == nullptr ? "" : path);
    const CFileHandle file = OpenFileForReading(source.fileName.c_str());
    std::string line;
    if (!file || !ReadVnpLine(file.get(), FIRST_LINE_LENGTH, line) || !StartsSet(line)) {
        return false;
    }
    const auto select = [&] {
        m_strFileName = source.fileName;
        m_strSetName = QuotedText(line);
        return IsWantedSet(line, source);
    };
    bool selected = select();
    while (ReadVnpLine(file.get(), LINE_LENGTH, line)) {
        if (!StartsSet(line)) {
            if (selected) {
                StoreParameterLine(*this, line);
            }
        } else if (selected) {
            break;
        } else {
            selected = select();
        }
    }
    if (!selected) {
        // Without a preset the first set is always taken, so one was named here.
        *error = "In the VNP file " + source.fileName +
                 " could not find a specified set of download parameters " + source.quotedPreset;
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
