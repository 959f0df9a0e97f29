#include "util/JsonText.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <iterator>

#include "util/FormatText.h"

namespace {

constexpr std::size_t MAX_ONE_LINE = 100;

struct CCharacter {
    char32_t m_nCode;
    std::size_t m_nSize;  // in bytes
    bool m_bIsValid;
};

// The first character of UTF-8 text that is not empty, or its first byte if that does not start
// one.
CCharacter DecodeFirst(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    if (first < 0x80) {
        return {first, 1, true};
    }
    const CCharacter invalid = {first, 1, false};
    const auto size = static_cast<std::size_t>(std::countl_one(first));
    if (size < 2 || size > 4 || size > text.size()) {
        return invalid;
    }
    char32_t code = first & (0x7FU >> size);
    for (const char next : text.substr(1, size - 1)) {
        if ((next & 0xC0) != 0x80) {
            return invalid;
        }
        code = code << 6 | (next & 0x3F);
    }
    // Only the shortest form of a character is valid.
    static constexpr char32_t SMALLEST[] = {0x80, 0x800, 0x10000};
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    return code < SMALLEST[size - 2] || code > 0x10FFFF || isSurrogate
               ? invalid
               : CCharacter{code, size, true};
}

std::string Escaped(char32_t code) {
    switch (code) {
        case '"':
            return "\\\"";
        case '\\':
            return "\\\\";
        case '\n':
            return "\\n";
        case '\t':
            return "\\t";
        default:
            return FormatText("\\u%04x", static_cast<unsigned int>(code));
    }
}

bool NeedsEscape(const CCharacter& character) {
    const char32_t code = character.m_nCode;
    return !character.m_bIsValid || code < ' ' || code == '"' || code == '\\' ||
           (code >= 0x7F && code < 0xA0);
}

void AppendIndented(std::string& text, const std::string& item) {
    text += "\n  ";
    for (const char character : item) {
        text += character;
        if (character == '\n') {
            text += "  ";
        }
    }
}

}  // namespace

CJsonText::CJsonText(double value) : m_strText("null") {
    if (std::isfinite(value)) {
        char digits[400];
        m_strText.assign(
            digits, std::to_chars(digits, std::end(digits), value, std::chars_format::fixed).ptr);
    }
}

CJsonText CJsonText::Object(std::initializer_list<CMember> members) {
    std::vector<std::string> items;
    for (const auto& [name, value] : members) {
        items.push_back(Quoted(name) + ": " + value.m_strText);
    }
    return Enclosed('{', items, '}');
}

CJsonText CJsonText::Array(const std::vector<CJsonText>& values) {
    std::vector<std::string> items;
    items.reserve(values.size());
    for (const CJsonText& value : values) {
        items.push_back(value.m_strText);
    }
    return Enclosed('[', items, ']');
}

CJsonText CJsonText::Enclosed(char opening, const std::vector<std::string>& items, char closing) {
    std::size_t size = 0;
    bool isOneLine = true;
    for (const std::string& item : items) {
        size += item.size() + 2;
        isOneLine = isOneLine && item.find('\n') == std::string::npos;
    }
    isOneLine = isOneLine && size <= MAX_ONE_LINE;
    CJsonText enclosed;
    std::string& text = enclosed.m_strText;
    text = opening;
    for (const std::string& item : items) {
        text += &item == &items.front() ? "" : isOneLine ? ", " : ",";
        if (isOneLine) {
            text += item;
        } else {
            AppendIndented(text, item);
        }
    }
    text += isOneLine ? "" : "\n";
    text += closing;
    return enclosed;
}

std::string CJsonText::Quoted(std::string_view text) {
    std::string quoted = "\"";
    while (!text.empty()) {
        const CCharacter next = DecodeFirst(text);
        if (NeedsEscape(next)) {
            quoted += Escaped(next.m_nCode);
        } else {
            quoted += text.substr(0, next.m_nSize);
        }
        text.remove_prefix(next.m_nSize);
    }
    return quoted + '"';
}
