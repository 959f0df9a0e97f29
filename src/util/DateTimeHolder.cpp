#include "util/DateTimeHolder.h"

#include <cstdio>

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
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int milliseconds = 0;
    if (std::sscanf(text, "%4d-%2d-%2d@%2d:%2d:%2d.%3d", &year, &month, &day, &hour, &minute,
                    &second, &milliseconds) != 7) {
        return false;
    }
    m_Time.year = static_cast<std::uint16_t>(year);
    m_Time.month = static_cast<std::uint8_t>(month);
    m_Time.day = static_cast<std::uint8_t>(day);
    m_Time.hour = static_cast<std::uint8_t>(hour);
    m_Time.minute = static_cast<std::uint8_t>(minute);
    m_Time.second = static_cast<std::uint8_t>(second);
    m_Time.milliseconds = static_cast<std::uint16_t>(milliseconds);
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
