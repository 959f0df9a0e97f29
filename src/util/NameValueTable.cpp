#include "util/NameValueTable.h"

#include <algorithm>
#include <string_view>

#include "util/FileHandle.h"
#include "util/TextLines.h"

namespace {

// Reads NAME=value pairs out of one line. Positions are indices into the line.
class CPairScanner {
public:
    explicit CPairScanner(std::string_view line) : m_Line(line) {}

    // The next pair. False at the end of the line and on an error, which Error() then tells.
    bool ReadPair(std::string& name, std::string& value) {
        const std::size_t equals = m_Line.find('=', m_nPosition);
        if (equals == std::string_view::npos) {
            return false;
        }
        name = LastWordBefore(equals);
        if (name.empty()) {
            m_strError = "NAME COULD NOT BE DETERMINED IN ";
        } else if (!ReadValue(equals + 1, value)) {
            m_strError = "Double-quote in the middle of a value in ";
        } else {
            return true;
        }
        m_strError += m_Line.substr(m_nPosition);
        return false;
    }

    const std::string& Error() const { return m_strError; }

private:
    std::string_view LastWordBefore(std::size_t equals) const {
        const std::string_view words =
            TrimmedView(m_Line.substr(m_nPosition, equals - m_nPosition));
        std::size_t start = words.size();
        while (start > 0 && !IsWhiteSpace(words[start - 1])) {
            --start;
        }
        return words.substr(start);
    }

    bool ReadValue(std::size_t start, std::string& value) {
        while (start < m_Line.size() && IsWhiteSpace(m_Line[start])) {
            ++start;
        }
        if (start < m_Line.size() && m_Line[start] == '"') {
            ReadQuotedValue(start + 1, value);
            return true;
        }
        std::size_t end = start;
        for (; end < m_Line.size() && !IsWhiteSpace(m_Line[end]); ++end) {
            if (m_Line[end] == '"') {
                return false;
            }
        }
        value = m_Line.substr(start, end - start);
        m_nPosition = end;
        return true;
    }

    void ReadQuotedValue(std::size_t start, std::string& value) {
        const std::size_t quote = m_Line.find('"', start);
        value = m_Line.substr(start, quote - start);
        m_nPosition = quote == std::string_view::npos ? m_Line.size() : quote + 1;
    }

    std::string_view m_Line;
    std::size_t m_nPosition = 0;
    std::string m_strError;
};

// The start of the line that holds the character at position, not before from.
std::size_t LineStart(std::string_view text, std::size_t from, std::size_t position) {
    const std::size_t lineFeed = text.substr(from, position - from).rfind('\n');
    return lineFeed == std::string_view::npos ? from : from + lineFeed + 1;
}

// Adds the setting of a line that holds an "=". Only the first one separates; comments are skipped.
std::string AddLine(CNameValueTable& table, std::string_view line) {
    while (line.front() == ' ' || line.front() == '\t') {
        line.remove_prefix(1);
    }
    if (line.front() == '#' || line.front() == '!') {
        return {};
    }
    const std::size_t equals = line.find('=');
    return table.AddValue(ExtractTrimmedString(line.substr(0, equals), true).c_str(),
                          ExtractTrimmedString(line.substr(equals + 1), false).c_str());
}

}  // namespace

std::string CNameValueTable::MakeNormalizedName(const char* name) {
    return name == nullptr ? std::string() : ExtractTrimmedString(std::string_view(name), true);
}

std::string CNameValueTable::AddValue(const char* name, const char* value) {
    if (name == nullptr) {
        return "NULL name supplied!";
    }
    if (value == nullptr) {
        return "NULL value supplied!";
    }
    std::string normalizedName = MakeNormalizedName(name);
    if (normalizedName.empty()) {
        return "Empty name supplied!";
    }
    if (!m_Values.try_emplace(std::move(normalizedName), value).second) {
        return std::string("Duplicate name: ") + name;
    }
    return {};
}

std::string CNameValueTable::RemoveValue(const char* name) {
    if (name == nullptr) {
        return "NULL name supplied!";
    }
    const std::string normalizedName = MakeNormalizedName(name);
    if (normalizedName.empty()) {
        return "Empty name supplied!";
    }
    return m_Values.erase(normalizedName) > 0 ? "" : "Name not found";
}

const char* CNameValueTable::FindValueFromName(const char* name) const {
    const auto found = m_Values.find(MakeNormalizedName(name));
    return found == m_Values.end() ? nullptr : found->second.c_str();
}

unsigned int CNameValueTable::GetAllNamesAndValues(std::vector<std::string>& names,
                                                   std::vector<std::string>& values) const {
    names.clear();
    values.clear();
    for (const auto& [name, value] : m_Values) {
        names.push_back(name);
        values.push_back(value);
    }
    return Count();
}

std::string CNameValueTable::StoreTableToString() const {
    std::string text;
    for (const auto& [name, value] : m_Values) {
        text.append(name).append("=").append(value).append("\n");
    }
    return text;
}

std::string CNameValueTable::LoadFromString(const char* text) {
    if (text == nullptr) {
        return "NULL string!";
    }
    const std::string all(text);  // a copy: the text may be a value of this very table
    if (all.empty()) {
        return "Empty string!";
    }
    if (all.find('\n') == std::string::npos) {
        return ParseValuesFromSingleLine(text);
    }
    Clear();
    std::string error;
    for (std::size_t cursor = 0; error.empty();) {
        const std::size_t equals = all.find('=', cursor);
        const std::size_t lineFeed = all.find('\n', std::min(equals, all.size()));
        // Here ends, too, a last line without its line feed: it is dropped without a word. Users
        // of the table depend on that.
        if (lineFeed == std::string::npos) {
            break;
        }
        const std::size_t start = LineStart(all, cursor, equals);
        error = AddLine(*this, std::string_view(all).substr(start, lineFeed - start));
        cursor = lineFeed + 1;
    }
    return error;
}

std::string CNameValueTable::ParseValuesFromSingleLine(const char* line) {
    if (line == nullptr) {
        return "NULL string!";
    }
    const std::string pairs(line);  // a copy, as above
    Clear();
    CPairScanner scanner(pairs);
    std::string name;
    std::string value;
    while (scanner.ReadPair(name, value)) {
        if (value.empty()) {
            continue;
        }
        // Upper case for the value too, unlike a multi-line text, which keeps its case.
        std::string error = AddValue(ExtractTrimmedString(std::string_view(name), true).c_str(),
                                     ExtractTrimmedString(std::string_view(value), true).c_str());
        if (!error.empty()) {
            return error;
        }
    }
    return scanner.Error();
}

std::string CNameValueTable::LoadFromFile(const char* path) {
    if (path == nullptr || *path == '\0') {
        return "Missing file name";
    }
    const CFileHandle file = OpenFileForReading(path);
    if (!file) {
        return "File not found";
    }
    std::string content;
    char block[4096];
    bool ended = false;
    while (const std::size_t count = ended ? 0 : std::fread(block, 1, sizeof block, file.get())) {
        // Text ends at a NUL; a file that goes on for gigabytes behind it is not read to its end.
        ended = std::find(block, block + count, '\0') != block + count;
        content.append(block, count);
    }
    return std::ferror(file.get()) != 0 ? "File not found" : LoadFromString(content.c_str());
}
