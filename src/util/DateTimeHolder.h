#pragma once

#include <cstdint>
#include <string>

#include "os/OSTime.h"

// A calendar date and time with milliseconds. Year 0 means a time of day only.
class CDateTimeHolder {
public:
    CDateTimeHolder() = default;
    explicit CDateTimeHolder(const dth& time);

    // From what GetPackedDateTime and GetMilliseconds gave.
    CDateTimeHolder(std::uint64_t packedDateTime, std::uint16_t milliseconds);

    // From "YYYY-MM-DD@HH:MM:SS.mmm"; anything else, a time alone included, gives all zeros.
    explicit CDateTimeHolder(const char* text);

    // Sets the holder from that text; false leaves it as it was. Fields may have fewer digits and
    // white space in front, and what follows the last one is not looked at.
    bool ScanText(const char* text);

    // The full form with a non-zero year, else "HH:MM:SS.mmm".
    std::string AsText() const;

    // The year in bits 40 to 55, then month, day, hour, minute and second with eight bits each, so
    // that later times are greater numbers. The milliseconds stand apart.
    std::uint64_t GetPackedDateTime() const;
    std::uint16_t GetMilliseconds() const { return m_Time.milliseconds; }

private:
    dth m_Time;
};
