#include "util/DateTimeHolder.h"

#include <iterator>

#include "util/FormatText.h"
#include "util/TextLines.h"

namespace {

// The fields of eight bits, in the order of the text and of the packed number.
constexpr std::uint8_t dth::*BYTE_FIELDS[] = {&dth::month, &dth::day, &dth::hour, &dth::minute,
                                              &dth::second};

// Skips white space, reads at most width decimal digits and moves past them. False when there is
// none. A sign is no digit: a time with one could not be written again.
bool ScanField(const char*& cursor, int width, std::uint16_t& field) {
    while (IsWhiteSpace(*cursor)) {
        ++cursor;
    }
    const char* const start = cursor;
    field = 0;
    for (; cursor - start < width && *cursor >= '0' && *cursor <= '9'; ++cursor) {
        field = static_cast<std::uint16_t>(field * 10 + (*cursor - '0'));
    }
    return cursor != start;
}

}  // namespace

CDateTimeHolder::CDateTimeHolder(std::uint64_t packedDateTime, std::uint16_t milliseconds) {
    m_Time.year = static_cast<std::uint16_t>(packedDateTime >> 40U);
    for (unsigned int shift = 40; std::uint8_t dth::*field : BYTE_FIELDS) {
        shift -= 8;
        m_Time.*field = static_cast<std::uint8_t>(packedDateTime >> shift);
    }
    m_Time.milliseconds = milliseconds;
}

bool CDateTimeHolder::ScanText(const char* text) {
    constexpr char SEPARATORS[] = "--@::";
    if (text == nullptr) {
        return false;
    }
    dth time;
    if (!ScanField(text, 4, time.year)) {
        return false;
    }
    for (const char* separator = SEPARATORS; std::uint8_t dth::*field : BYTE_FIELDS) {
        std::uint16_t value = 0;
        if (*text++ != *separator++ || !ScanField(text, 2, value)) {
            return false;
        }
        time.*field = static_cast<std::uint8_t>(value);
    }
    if (*text++ != '.' || !ScanField(text, 3, time.milliseconds)) {
        return false;
    }
    m_Time = time;
    return true;
}

std::uint64_t CDateTimeHolder::GetPackedDateTime() const {
    std::uint64_t packed = m_Time.year;
    for (std::uint8_t dth::*field : BYTE_FIELDS) {
        packed = packed << 8U | m_Time.*field;
    }
    return packed;
}

std::string CDateTimeHolder::AsText() const {
    std::string text;
    if (m_Time.year != 0) {
        text = FormatText("%04d-%02d-%02d@", m_Time.year, m_Time.month, m_Time.day);
    }
    return text + FormatText("%02d:%02d:%02d.%03d", m_Time.hour, m_Time.minute, m_Time.second,
                             m_Time.milliseconds);
}
