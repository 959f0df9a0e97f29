#pragma once

#include <cstdint>
#include <string>

#include "os/OSTime.h"

// A calendar date and time with milliseconds. Year 0 means a time of day only.
class CDateTimeHolder {
public:
    CDateTimeHolder() = default;
    explicit CDateTimeHolder(const dth& time) : m_Time(time) {}

    // From the results of GetPackedDateTime and GetMilliseconds.
    CDateTimeHolder(std::uint64_t packedDateTime, std::uint16_t milliseconds);

    // From "YYYY-MM-DD@HH:MM:SS.mmm"; anything else, a time alone included, gives all zeros.
    explicit CDateTimeHolder(const char* text) { ScanText(text); }

    // Sets the holder from such a text; false leaves it as it was. Fields may have fewer digits and
    // leading white space; text after the last field is ignored.
    bool ScanText(const char* text);

    // The full form with a non-zero year, else "HH:MM:SS.mmm".
    std::string AsText() const;

    // The year in bits 40 to 55, then month, day, hour, minute and second with eight bits each, so
    // that later times are greater numbers. The milliseconds are not part of it.
    std::uint64_t GetPackedDateTime() const;
    std::uint16_t GetMilliseconds() const { return m_Time.milliseconds; }

private:
    dth m_Time;
};
