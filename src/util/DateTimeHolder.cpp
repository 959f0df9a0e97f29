#include "util/DateTimeHolder.h"

#include <cstdio>
#include <iterator>

#include "util/TextLines.h"

namespace {

// Reads at most width decimal digits behind white space and moves behind them. False when there is
// none. A sign is no digit: a time that it changes could not be written again.
bool ScanField(const char*& cursor, int width, std::uint16_t& field) {
    while (IsWhiteSpace(*cursor)) {
        ++cursor;
    }
    const char* const start = cursor;
    field = 0;
    while (cursor - start < width && *cursor >= '0' && *cursor <= '9') {
        field = static_cast<std::uint16_t>(field * 10 + (*cursor - '0'));
        ++cursor;
    }
    return cursor != start;
}

struct FIELD_FORM {
    int width;
    char separator;  // what stands in front of the field
};

constexpr FIELD_FORM FIELD_FORMS[] = {{4, '\0'}, {2, '-'}, {2, '-'}, {2, '@'},
                                      {2, ':'},  {2, ':'}, {3, '.'}};

}  // namespace

CDateTimeHolder::CDateTimeHolder(const dth& time) : m_Time(time) {}

CDateTimeHolder::CDateTimeHolder(std::uint64_t packedDateTime, std::uint16_t milliseconds) {
    m_Time.year = static_cast<std::uint16_t>(packedDateTime >> 40U);
    m_Time.month = static_cast<std::uint8_t>(packedDateTime >> 32U);
    m_Time.day = static_cast<std::uint8_t>(packedDateTime >> 24U);
    m_Time.hour = static_cast<std::uint8_t>(packedDateTime >> 16U);
    m_Time.minute = static_cast<std::uint8_t>(packedDateTime >> 8U);
    m_Time.second = static_cast<std::uint8_t>(packedDateTime);
    m_Time.milliseconds = milliseconds;
}

CDateTimeHolder::CDateTimeHolder(const char* text) {
    ScanText(text);
}

bool CDateTimeHolder::ScanText(const char* text) {
    if (text == nullptr) {
        return false;
    }
    std::uint16_t fields[std::size(FIELD_FORMS)] = {};
    const char* cursor = text;
    for (std::size_t i = 0; i < std::size(FIELD_FORMS); ++i) {
        if (i > 0 && *cursor++ != FIELD_FORMS[i].separator) {
            return false;
        }
        if (!ScanField(cursor, FIELD_FORMS[i].width, fields[i])) {
            return false;
        }
    }
    m_Time.year = fields[0];
    m_Time.month = static_cast<std::uint8_t>(fields[1]);
    m_Time.day = static_cast<std::uint8_t>(fields[2]);
    m_Time.hour = static_cast<std::uint8_t>(fields[3]);
    m_Time.minute = static_cast<std::uint8_t>(fields[4]);
    m_Time.second = static_cast<std::uint8_t>(fields[5]);
    m_Time.milliseconds = fields[6];
    return true;
}

std::uint64_t CDateTimeHolder::GetPackedDateTime() const {
    std::uint64_t packed = m_Time.year;
    for (const std::uint8_t field :
         {m_Time.month, m_Time.day, m_Time.hour, m_Time.minute, m_Time.second}) {
        packed = packed << 8U | field;
    }
    return packed;
}

std::string CDateTimeHolder::AsText() const {
    char text[48];
    int length = 0;
    if (m_Time.year != 0) {
        length = std::snprintf(text, sizeof text, "%04d-%02d-%02d@", m_Time.year, m_Time.month,
                               m_Time.day);
    }
    std::snprintf(text + length, sizeof text - static_cast<std::size_t>(length),
                  "%02d:%02d:%02d.%03d", m_Time.hour, m_Time.minute, m_Time.second,
                  m_Time.milliseconds);
    return text;
}
