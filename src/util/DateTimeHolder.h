#pragma once

#include <cstdint>
#include <string>

#include "os/OSTime.h"

// A calendar date and time with milliseconds. Year 0 means a time of day only.
class CDateTimeHolder {
public:
    CDateTimeHolder() = default;
    explicit CDateTimeHolder(const dth& time);

    // From "YYYY-MM-DD@HH:MM:SS.mmm"; anything else, a time alone included, gives all zeros.
    explicit CDateTimeHolder(const char* text);

    // The full form with a non-zero year, else "HH:MM:SS.mmm".
    std::string AsText() const;

private:
    dth m_Time;
};
