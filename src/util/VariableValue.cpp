#include "util/VariableValue.h"

#include <algorithm>
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

// Skips white space, reads a decimal number with or without a sign and moves past it. False when
// there is none or it does not fit.
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

void CVariableValue::ClearValue() {
    m_nType = VALUE_UNDEFINED;
    m_nBits = 0;
    m_nMilliseconds = 0;
    m_strText.reset();
}

void CVariableValue::Assign(const char* text) {
    ClearValue();
    if (text != nullptr) {
        m_strText = text;
        m_nType = VALUE_STRING;
    }
}

void CVariableValue::Assign(const CDateTimeHolder& time) {
    ClearValue();
    m_nType = VALUE_DATE_TIME;
    m_nBits = time.GetPackedDateTime();
    m_nMilliseconds = time.GetMilliseconds();
}

bool CVariableValue::AssignName(const char* name) {
    const bool isValid = IsValidName(name);
    m_strName = isValid ? std::optional<std::string>(name) : std::nullopt;
    return isValid;
}

bool CVariableValue::IsValidName(const char* name) {
    return name != nullptr && std::strcmp(name, NO_VALUE_MARK) != 0 &&
           std::all_of(name, name + std::strlen(name), IsNameCharacter);
}

std::uint64_t CVariableValue::WidthMask() const {
    return ~std::uint64_t{0} >> (64 - (8 << (m_nType - VALUE_UINT8) / 2));
}

void CVariableValue::StoreInteger(std::int64_t number) {
    if (IsBoolean()) {
        m_nBits = number != 0 ? 1 : 0;
    } else {
        m_nBits = static_cast<std::uint64_t>(number) & WidthMask();
    }
}

void CVariableValue::StoreReal(double number) {
    m_nBits = m_nType == VALUE_FLOAT ? std::bit_cast<std::uint32_t>(static_cast<float>(number))
                                     : std::bit_cast<std::uint64_t>(number);
}

std::int64_t CVariableValue::GetInt64Value() const {
    if (!IsInteger()) {
        return 0;
    }
    const bool isSigned = m_nType % 2 == 0;
    const bool isNegative = isSigned && (m_nBits & ~(WidthMask() >> 1)) != 0;
    return static_cast<std::int64_t>(isNegative ? m_nBits | ~WidthMask() : m_nBits);
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
    text += FormatText(" name %s ", m_strName.value_or("NULL").c_str());
    std::string value;
    text += m_nType == VALUE_UNDEFINED
                ? "UNDEFINED"
                : FormatText(" type %d   ", m_nType) + GetValueAsString(value, DESCRIPTION_LIMIT);
    buffer = std::move(text);
    return buffer.c_str();
}

const char* CVariableValue::PackIntoString(std::string& buffer) const {
    std::string value;
    const char* const valueText = GetValueAsString(value, PACKED_LIMIT);
    buffer = FormatText("%d %s %s%s", m_nType, m_strName.value_or(NO_VALUE_MARK).c_str(),
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
        m_strText = text;
        return true;
    }
    bool found = false;
    if (IsRealNumber()) {
        double number = 0;
        found = TryToGetRealValue(text, &number);
        if (found) {
            StoreReal(number);
        }
    } else if (IsDateTime()) {
        CDateTimeHolder time;
        found = time.ScanText(text);
        if (found) {
            Assign(time);
        }
    } else {
        std::int64_t number = 0;
        std::string_view rest(text);
        found = ScanDecimal(rest, number);
        if (found) {
            StoreInteger(number);
        }
    }
    return found;
}

bool CVariableValue::operator==(const CVariableValue& other) const {
    if (m_nType != other.m_nType || m_nType == VALUE_UNDEFINED) {
        return false;
    }
    return IsString() ? m_strText && m_strText == other.m_strText : m_nBits == other.m_nBits;
}
