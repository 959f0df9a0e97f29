#pragma once

#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// A JSON value (RFC 8259), held as its text. Values are built from the inside out:
//
//     const CJsonText area = CJsonText::Object({{"address", 0x500000}, {"kind", "CODE"}});
//
// The text is valid UTF-8 whatever the strings hold. A byte that is not part of valid UTF-8 becomes
// the character of its number (Latin-1), so that file names which differ stay different. Control
// characters are escaped, so that the text may go to a terminal.
class CJsonText {
public:
    CJsonText(std::nullptr_t) : m_strText("null") {}
    CJsonText(bool value) : m_strText(value ? "true" : "false") {}
    CJsonText(std::integral auto value) : m_strText(std::to_string(value)) {}
    CJsonText(double value);  // without an exponent; null for infinite values and NaN
    template <typename T>
    requires std::convertible_to<const T&, std::string_view> CJsonText(const T& text)
        : m_strText(Quoted(text)) {}

    using CMember = std::pair<std::string_view, CJsonText>;
    // In the order given. Names must differ.
    static CJsonText Object(std::initializer_list<CMember> members);
    static CJsonText Array(const std::vector<CJsonText>& values);

    // On one line if it is short, else indented by two blanks for each level. No line feed at the
    // end.
    const std::string& Text() const { return m_strText; }

private:
    CJsonText() = default;

    static std::string Quoted(std::string_view text);
    static CJsonText Enclosed(char opening, const std::vector<std::string>& items, char closing);

    std::string m_strText;
};
