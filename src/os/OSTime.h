#pragma once

#include <cstdint>
#include <ctime>

// A point in time for time stamps.
struct dth {
    std::uint16_t year = 0;
    std::uint8_t month = 0;
    std::uint8_t day = 0;
    std::uint8_t hour = 0;
    std::uint8_t minute = 0;
    std::uint8_t second = 0;
    std::uint16_t milliseconds = 0;  // 0 to 999
};

// The milliseconds within the current second, 0 to 999, not a running count: an interval measured
// with it is modulo one second. The reported times are defined that way.
unsigned int GetCurrentOSTimeMS();

// Fills hour, minute, second (local time) and milliseconds; year, month and day become 0.
void GetCurrentOSTime(dth* time);

// Sleeps ms milliseconds; signals do not shorten it.
void PutThreadToSleep(unsigned int ms);

// Ends this thread's sleeps on time, not up to 50 microseconds late, for threads that sleep between
// two records. Linux only; does nothing elsewhere.
void SharpenSleepsOfThisThread();

// Sleeps for the whole of *req, however often signals interrupt it; rem (may be null) receives what
// was left at the last interruption. Always returns 1.
int __nsleep(const timespec* req, timespec* rem);  // NOLINT(bugprone-reserved-identifier)
