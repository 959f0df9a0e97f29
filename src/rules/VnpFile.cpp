#include "rules/VnpFile.h"

#include <cstring>
#include <string_view>
#include <utility>

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

// The lines of the file. One that is too long comes in pieces, each a line of its own with the same
// number. A NUL ends its piece.
class CVnpLines {
public:
    explicit CVnpLines(CFileHandle file) : m_File(std::move(file)) {}

    bool Next(std::size_t maxLength) {
        m_nNumber += m_bLineEnded ? 1 : 0;
        const bool found = m_File && ReadLinePiece(m_File.get(), maxLength, m_strText);
        m_bLineEnded = m_strText.ends_with('\n');
        m_strText.resize(std::strlen(m_strText.c_str()));
        return found;
    }
    const std::string& Text() const { return m_strText; }
    unsigned int Number() const { return m_nNumber; }

private:
    CFileHandle m_File;
    std::string m_strText;
    unsigned int m_nNumber = 0;
    bool m_bLineEnded = true;
};

bool StartsSet(std::string_view line) {
    return line.starts_with(SET_MARK);
}

bool IsWantedSet(const std::string& line, const VNP_SOURCE& source) {
    return source.quotedPreset.empty() || line.find(source.quotedPreset) != std::string::npos;
}

void AddParameterLine(std::string_view line, unsigned int number,
                      std::vector<CVnpParameter>& parameters) {
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) {
        return;
    }
    std::string value(TrimmedView(line.substr(equals + 1)));
    if (IsDoubleQuoted(value.c_str())) {
        value = value.substr(1, value.size() - 2);
    }
    parameters.push_back({number, std::string(TrimmedView(line.substr(0, equals))), value});
}

std::string QuotedText(const std::string& line) {
    const std::size_t start = line.find('"');
    const std::size_t end = start == std::string::npos ? start : line.find('"', start + 1);
    return end == std::string::npos ? "" : line.substr(start + 1, end - start - 1);
}

}  // namespace

bool ReadVnpSet(const std::string& path, CVnpSet& set, std::string* error) {
    const VNP_SOURCE source = SplitPath(path);
    CVnpLines lines(OpenFileForReading(source.fileName.c_str()));
    if (!lines.Next(FIRST_LINE_LENGTH) || !StartsSet(lines.Text())) {
        return false;
    }
    const auto select = [&] {
        set.m_strName = QuotedText(lines.Text());
        return IsWantedSet(lines.Text(), source);
    };
    set.m_strFileName = source.fileName;
    bool selected = select();
    while (lines.Next(LINE_LENGTH)) {
        if (!StartsSet(lines.Text())) {
            if (selected) {
                AddParameterLine(lines.Text(), lines.Number(), set.m_Parameters);
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
