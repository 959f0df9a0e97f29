#include "util/TextLines.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "util/FileHandle.h"
#include "util/TextCase.h"

namespace {

bool IsQuotedWith(const char* text, char quote) {
    const std::string_view view(text == nullptr ? "" : text);
    return view.size() >= 2 && view.front() == quote && view.back() == quote;
}

std::string_view WithoutComment(std::string_view line, char commentChar) {
    bool quoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '"') {
            quoted = !quoted;
        } else if (line[i] == commentChar && !quoted) {
            return line.substr(0, i);
        }
    }
    return line;
}

}  // namespace

bool IsWhiteSpace(char character) {
    return character == ' ' || (character >= '\t' && character <= '\r');
}

std::string_view TrimmedView(std::string_view stretch) {
    while (!stretch.empty() && IsWhiteSpace(stretch.front())) {
        stretch.remove_prefix(1);
    }
    while (!stretch.empty() && IsWhiteSpace(stretch.back())) {
        stretch.remove_suffix(1);
    }
    return stretch;
}

std::string ExtractTrimmedString(std::string_view stretch, bool toUpperCase) {
    stretch = stretch.substr(0, stretch.find('\0'));
    std::string_view trimmed = TrimmedView(stretch);
    if (trimmed.empty() && !stretch.empty()) {
        trimmed = stretch.substr(stretch.size() - 1);
    }
    return toUpperCase ? UpperCaseCopy(trimmed) : std::string(trimmed);
}

std::string ExtractTrimmedString(const char* first, const char* last, bool toUpperCase) {
    if (first == nullptr || last == nullptr || first > last) {
        return {};
    }
    return ExtractTrimmedString(std::string_view(first, static_cast<std::size_t>(last - first) + 1),
                                toUpperCase);
}

char* ReadNextCleanLine(char* buf, std::FILE* file, long* lineNumber, char commentChar) {
    char piece[CLEAN_LINE_ROOM];
    while (std::fgets(piece, static_cast<int>(sizeof piece), file) != nullptr) {
        if (lineNumber != nullptr) {
            ++*lineNumber;
        }
        const std::string_view clean = TrimmedView(WithoutComment(TrimmedView(piece), commentChar));
        if (!clean.empty()) {
            std::copy(clean.begin(), clean.end(), buf);
            buf[clean.size()] = '\0';
            return buf;
        }
    }
    return nullptr;
}

bool DoesFileExist(const char* path) {
    struct stat info {};
    if (path != nullptr && ::stat(path, &info) == 0 && S_ISFIFO(info.st_mode)) {
        // Opening a named pipe waits for its writer, and closing it again ends the writer.
        return ::access(path, R_OK) == 0;
    }
    return OpenFileForReading(path) != nullptr;
}

bool IsSingleQuoted(const char* text) {
    return IsQuotedWith(text, '\'');
}

bool IsDoubleQuoted(const char* text) {
    return IsQuotedWith(text, '"');
}
