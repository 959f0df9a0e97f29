#include "util/NameValueTable.h"

#include <algorithm>
#include <string_view>

#include "util/FileHandle.h"
#include "util/TextLines.h"

namespace {

// The last word before an "=" is a name; other words between two pairs are ignored.
std::string_view LastWord(std::string_view words) {
    words = TrimmedView(words);
    const auto before = std::find_if(words.rbegin(), words.rend(), IsWhiteSpace);
    return words.substr(static_cast<std::size_t>(words.rend() - before));
}

// Takes the value from the start of the text. False if a double quote stands in the middle of it.
bool TakeValue(std::string_view& text, std::string_view& value) {
    while (!text.empty() && IsWhiteSpace(text.front())) {
        text.remove_prefix(1);
    }
    if (text.starts_with('"')) {
        text.remove_prefix(1);
        value = text.substr(0, text.find('"'));
        text.remove_prefix(std::min(value.size() + 1, text.size()));
        return true;
    }
    const auto end =
        std::find_if(text.begin(), text.end(), [](char c) { return IsWhiteSpace(c) || c == '"'; });
    value = text.substr(0, static_cast<std::size_t>(end - text.begin()));
    text.remove_prefix(value.size());
    return !text.starts_with('"');
}

// Adds the setting of a line that holds an "="; only the first one separates. Skips comments.
std::string AddLine(CNameValueTable& table, std::string_view line) {
    while (line.front() == ' ' || line.front() == '\t') {
        line.remove_prefix(1);
    }
    if (line.front() == '#' || line.front() == '!') {
        return {};
    }
    const std::size_t equals = line.find('=');
    return table.AddValue(ExtractTrimmedString(line.substr(0, equals), true),
                          ExtractTrimmedString(line.substr(equals + 1), false));
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
        // A last line without a line feed is silently dropped; callers rely on it.
        if (lineFeed == std::string::npos) {
            break;
        }
        const std::size_t before = all.rfind('\n', equals);
        const std::size_t start = before == std::string::npos ? 0 : before + 1;
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
    std::string_view rest(pairs);
    for (std::size_t equals = 0; (equals = rest.find('=')) != std::string_view::npos;) {
        const std::string_view name = LastWord(rest.substr(0, equals));
        if (name.empty()) {
            return "NAME COULD NOT BE DETERMINED IN " + std::string(rest);
        }
        std::string_view following = rest.substr(equals + 1);
        std::string_view value;
        if (!TakeValue(following, value)) {
            return "Double-quote in the middle of a value in " + std::string(rest);
        }
        rest = following;
        // Upper case for the value too, unlike a multi-line text, which keeps its case.
        std::string error = value.empty() ? ""
                                          : AddValue(ExtractTrimmedString(name, true),
                                                     ExtractTrimmedString(value, true));
        if (!error.empty()) {
            return error;
        }
    }
    return {};
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
        // Text ends at a NUL: what may follow it, gigabytes perhaps, is not read.
        ended = std::find(block, block + count, '\0') != block + count;
        content.append(block, count);
    }
    return std::ferror(file.get()) != 0 ? "File not found" : LoadFromString(content.c_str());
}
