#pragma once

#include <bit>
#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>

#include "util/DateTimeHolder.h"

// The codes are part of the packed text and never change. Of the integers, the signed are even, and
// the width doubles every two codes.
enum VariableValueType : int {
    VALUE_UNDEFINED = 0,
    VALUE_UINT8 = 1,
    VALUE_INT8 = 2,
    VALUE_UINT16 = 3,
    VALUE_INT16 = 4,
    VALUE_UINT32 = 5,
    VALUE_INT32 = 6,
    VALUE_UINT64 = 7,
    VALUE_INT64 = 8,
    VALUE_FLOAT = 9,
    VALUE_DOUBLE = 10,
    VALUE_BOOLEAN = 11,
    VALUE_STRING = 12,
    VALUE_DATE_TIME = 13,
};

// The plain number and boolean types that a value can hold.
template <class T>
concept VariableScalar = std::is_arithmetic_v<T> && sizeof(T) <= sizeof(std::uint64_t);

// What a value is made from: a scalar, a text (null: undefined) or a point in time.
template <class T>
concept VariableSource = VariableScalar<T> || std::is_convertible_v<const T&, const char*> ||
    std::is_same_v<T, CDateTimeHolder>;

// A scalar, a text or a point in time, with an optional name and a one-line text form. Copyable,
// its name with it; one thread at a time.
class CVariableValue {
public:
    CVariableValue() = default;
    template <VariableSource T>
    explicit CVariableValue(const T& value) {
        Assign(value);
    }
    // Keeps the name; assigning another CVariableValue takes over its name too.
    template <VariableSource T>
    CVariableValue& operator=(const T& value) {
        Assign(value);
        return *this;
    }

    // Makes the value undefined. The name stays.
    void ClearValue();

    // Drops the old name even if the new one is invalid.
    bool AssignName(const char* name);
    const char* GetName() const { return m_strName ? m_strName->c_str() : nullptr; }

    // Letters, digits, '_', '.', '[' and ']' only, the empty name included; not "NULMRK".
    static bool IsValidName(const char* name);

    int GetType() const { return m_nType; }
    bool IsInteger() const { return m_nType >= VALUE_UINT8 && m_nType <= VALUE_INT64; }
    bool IsRealNumber() const { return m_nType == VALUE_FLOAT || m_nType == VALUE_DOUBLE; }
    bool IsBoolean() const { return m_nType == VALUE_BOOLEAN; }
    bool IsString() const { return m_nType == VALUE_STRING; }
    bool IsDateTime() const { return m_nType == VALUE_DATE_TIME; }

    // Any integer type, widened by its own signedness and cut to the width asked for; 0 (or false)
    // for a value of another kind.
    std::int32_t GetInt32Value() const { return static_cast<std::int32_t>(GetInt64Value()); }
    std::uint32_t GetUInt32Value() const { return static_cast<std::uint32_t>(GetInt64Value()); }
    std::int64_t GetInt64Value() const;
    std::uint64_t GetUInt64Value() const { return static_cast<std::uint64_t>(GetInt64Value()); }
    double GetRealNumberValue() const;
    bool GetBooleanValue() const { return IsBoolean() && m_nBits != 0; }

    // Puts the value's text into buffer and returns it, of a string at most limit characters. An
    // undefined value returns "NULMRK" and leaves buffer alone. An integer's text ends in a line
    // feed, which is part of the packed form.
    const char* GetValueAsString(std::string& buffer, unsigned int limit) const;

    // For people: title (may be null), name, type and value. Returns the buffer's text.
    const char* Description(const char* title, std::string& buffer) const;

    // For UnpackFromString; at most 127 characters of a string. Returns the buffer's text.
    const char* PackIntoString(std::string& buffer) const;

    // False, with nothing changed, for a type code that does not exist. Otherwise name, type and
    // value are replaced; a value that cannot be read is 0 or, for a string, missing. That holds
    // for a packed boolean: it is written as a word and read as a number.
    bool UnpackFromString(const char* text);

    // Reads a value of the type this one has. False leaves it as it was: a null text, a text that
    // does not start with such a value, or an undefined type.
    bool ScanValueFromString(const char* text);

    // Same type and same value; names are not compared. Undefined values and missing strings equal
    // nothing. The milliseconds of a point in time are not compared: they are not part of the 64
    // bits that are.
    bool operator==(const CVariableValue& other) const;

private:
    template <VariableScalar T>
    void Assign(T value);
    void Assign(const char* text);
    void Assign(const CDateTimeHolder& time);

    // Keeps the type's width of number.
    void StoreInteger(std::int64_t number);
    void StoreReal(double number);
    std::uint64_t WidthMask() const;  // the bits of an integer type

    std::optional<std::string> m_strName;
    int m_nType = VALUE_UNDEFINED;
    std::uint64_t m_nBits = 0;
    std::uint16_t m_nMilliseconds = 0;
    std::optional<std::string> m_strText;
};

template <VariableScalar T>
void CVariableValue::Assign(T value) {
    ClearValue();
    if constexpr (std::is_same_v<T, bool>) {
        m_nType = VALUE_BOOLEAN;
        m_nBits = value ? 1 : 0;
    } else if constexpr (std::is_floating_point_v<T>) {
        m_nType = sizeof(T) == sizeof(float) ? VALUE_FLOAT : VALUE_DOUBLE;
        StoreReal(static_cast<double>(value));
    } else {
        m_nType = VALUE_UINT8 + 2 * std::countr_zero(sizeof(T)) + (std::is_signed_v<T> ? 1 : 0);
        StoreInteger(static_cast<std::int64_t>(value));
    }
}
