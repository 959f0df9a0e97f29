#include "util/VariableValue.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstring>
#include <string_view>

#include "util/FormatText.h"
#include "util/NumberText.h"
#include "util/TextLines.h"

namespace {

constexpr const char NO_VALUE_MARK[] = "NULMRK";
constexpr const char TEXT_MARK[] = "TEXTDATABEGIN---....";
constexpr unsigned int DESCRIPTION_LIMIT = 200;
constexpr unsigned int PACKED_LIMIT = 127;

bool IsNameCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::strchr("_.[]", c) != nullptr;
}

// The next word between white space; empty at the end.
std::string NextWord(std::string_view& text) {
    while (!text.empty() && IsWhiteSpace(text.front())) {
        text.remove_prefix(1);
    }
    const auto end = std::find_if(text.begin(), text.end(), IsWhiteSpace);
    std::string word(text.begin(), end);
    text.remove_prefix(word.size());
    return word;
}

// Reads the decimal number at the start of the text, behind white space and a sign, and moves
// behind it. False when there is none or it does not fit.
bool ScanDecimal(std::string_view& text, std::int64_t& number) {
    while (!text.empty() && IsWhiteSpace(text.front())) {
        text.remove_prefix(1);
    }
    if (text.size() >= 2 && text[0] == '+' && text[1] != '-') {
        text.remove_prefix(1);
    }
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return error == std::errc();
}

}  // namespace

CVariableValue& CVariableValue::operator=(const char* text) {
    AssignText(text);
    return *this;
}

CVariableValue& CVariableValue::operator=(const CDateTimeHolder& time) {
    AssignDateTime(time);
    return *this;
}

void CVariableValue::ClearValue() {
    m_nType = VALUE_UNDEFINED;
    m_nBits = 0;
    m_nMilliseconds = 0;
    m_strText.reset();
}

void CVariableValue::AssignText(const char* text) {
    ClearValue();
    if (text != nullptr) {
        m_strText = text;
        m_nType = VALUE_STRING;
    }
}

void CVariableValue::AssignDateTime(const CDateTimeHolder& time) {
    ClearValue();
    m_nType = VALUE_DATE_TIME;
    m_nBits = time.GetPackedDateTime();
    m_nMilliseconds = time.GetMilliseconds();
}

bool CVariableValue::AssignName(const char* name) {
    std::optional<std::string> newName;
    if (IsValidName(name)) {
        newName = name;
    }
    m_strName = std::move(newName);
    return m_strName.has_value();
}

bool CVariableValue::IsValidName(const char* name) {
    return name != nullptr && std::strcmp(name, NO_VALUE_MARK) != 0 &&
           std::all_of(name, name + std::strlen(name), IsNameCharacter);
}

void CVariableValue::StoreInteger(std::int64_t number) {
    const auto bits = static_cast<std::uint64_t>(number);
    switch (m_nType) {
        case VALUE_UINT8:
        case VALUE_INT8:
            m_nBits = bits & 0xFFU;
            break;
        case VALUE_UINT16:
        case VALUE_INT16:
            m_nBits = bits & 0xFFFFU;
            break;
        case VALUE_UINT32:
        case VALUE_INT32:
            m_nBits = bits & 0xFFFFFFFFU;
            break;
        case VALUE_BOOLEAN:
            m_nBits = bits != 0 ? 1 : 0;
            break;
        default:
            m_nBits = bits;
    }
}

void CVariableValue::StoreReal(double number) {
    m_nBits = m_nType == VALUE_FLOAT ? std::bit_cast<std::uint32_t>(static_cast<float>(number))
                                     : std::bit_cast<std::uint64_t>(number);
}

std::int64_t CVariableValue::GetInt64Value() const {
    switch (m_nType) {
        case VALUE_INT8:
            return static_cast<std::int8_t>(m_nBits);
        case VALUE_INT16:
            return static_cast<std::int16_t>(m_nBits);
        case VALUE_INT32:
            return static_cast<std::int32_t>(m_nBits);
        default:
            return IsInteger() ? static_cast<std::int64_t>(m_nBits) : 0;
    }
}

double CVariableValue::GetRealNumberValue() const {
    if (m_nType == VALUE_FLOAT) {
        return std::bit_cast<float>(static_cast<std::uint32_t>(m_nBits));
    }
    return m_nType == VALUE_DOUBLE ? std::bit_cast<double>(m_nBits) : 0.0;
}

const char* CVariableValue::GetValueAsString(std::string& buffer, unsigned int limit) const {
    if (IsString()) {
        buffer = m_strText ? m_strText->substr(0, limit) : NO_VALUE_MARK;
    } else if (IsRealNumber()) {
        buffer = FormatText("%20.10f", GetRealNumberValue());
    } else if (IsInteger()) {
        buffer = FormatText("%lld\n", static_cast<long long>(GetInt64Value()));
    } else if (IsDateTime()) {
        buffer = CDateTimeHolder(m_nBits, m_nMilliseconds).AsText();
    } else if (IsBoolean()) {
        buffer = GetBooleanValue() ? "TRUE" : "FALSE";
    } else {
        return NO_VALUE_MARK;
    }
    return buffer.c_str();
}

const char* CVariableValue::Description(const char* title, std::string& buffer) const {
    std::string text = title == nullptr ? "" : FormatText("%s: ", title);
    text += FormatText(" name %s ", m_strName ? m_strName->c_str() : "NULL");
    if (m_nType == VALUE_UNDEFINED) {
        text += "UNDEFINED";
    } else {
        std::string value;
        text += FormatText(" type %d   ", m_nType);
        text += GetValueAsString(value, DESCRIPTION_LIMIT);
    }
    buffer = std::move(text);
    return buffer.c_str();
}

const char* CVariableValue::PackIntoString(std::string& buffer) const {
    std::string value;
    const char* const valueText = GetValueAsString(value, PACKED_LIMIT);
    buffer = FormatText("%d %s %s%s", m_nType, m_strName ? m_strName->c_str() : NO_VALUE_MARK,
                        IsString() ? TEXT_MARK : "", valueText);
    return buffer.c_str();
}

bool CVariableValue::UnpackFromString(const char* text) {
    const std::string packed(text == nullptr ? "" : text);
    std::string_view rest(packed);
    std::int64_t type = 0;
    if (!ScanDecimal(rest, type) || type < VALUE_UNDEFINED || type > VALUE_DATE_TIME) {
        return false;
    }
    const std::string name = NextWord(rest);
    const std::string value = NextWord(rest);
    ClearValue();
    AssignName(name.empty() ? nullptr : name.c_str());
    m_nType = static_cast<int>(type);
    if (!IsString()) {
        ScanValueFromString(value.c_str());
    } else if (const std::size_t mark = packed.find(TEXT_MARK); mark != std::string::npos) {
        m_strText = packed.substr(mark + std::strlen(TEXT_MARK));
    }
    return true;
}

bool CVariableValue::ScanValueFromString(const char* text) {
    if (text == nullptr || m_nType == VALUE_UNDEFINED) {
        return false;
    }
    if (IsString()) {
        m_strText = std::string(text);
        return true;
    }
    if (IsRealNumber()) {
        double number = 0;
        const bool found = TryToGetRealValue(text, &number);
        if (found) {
            StoreReal(number);
        }
        return found;
    }
    if (IsDateTime()) {
        CDateTimeHolder time;
        const bool found = time.ScanText(text);
        if (found) {
            AssignDateTime(time);
        }
        return found;
    }
    return ScanInteger(text);
}

bool CVariableValue::ScanInteger(const char* text) {
    std::int64_t number = 0;
    std::string_view rest(text);
    const bool found = ScanDecimal(rest, number);
    if (found) {
        StoreInteger(number);
    }
    return found;
}

bool CVariableValue::operator==(const CVariableValue& other) const {
    if (m_nType != other.m_nType || m_nType == VALUE_UNDEFINED) {
        return false;
    }
    return IsString() ? m_strText && m_strText == other.m_strText : m_nBits == other.m_nBits;
}
