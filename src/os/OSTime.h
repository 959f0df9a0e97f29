#pragma once

#include <cstdint>
#include <ctime>

// A point in time for time stamps. GetCurrentOSTime leaves the date at zero.
struct dth {
    std::uint16_t year = 0;
    std::uint8_t month = 0;
    std::uint8_t day = 0;
    std::uint8_t hour = 0;
    std::uint8_t minute = 0;
    std::uint8_t second = 0;
    std::uint16_t milliseconds = 0;  // 0 to 999
};

// Milliseconds within the current second, 0 to 999, not a running count: whoever measures an
// interval with it gets that interval modulo one second. Kept this way on purpose.
unsigned int GetCurrentOSTimeMS();

// Fills hour, minute, second (local time) and milliseconds; year, month and day become 0.
void GetCurrentOSTime(dth* time);

// Sleeps ms milliseconds, also through interrupting signals.
void PutThreadToSleep(unsigned int ms);

// Asks the system to end this thread's sleeps when they are due, not some 50 microseconds later,
// for threads that sleep between one record and the next. Does nothing where that cannot be asked.
void SharpenSleepsOfThisThread();

// Sleeps for the whole of *req, however often it is interrupted; rem (may be null) receives what
// was left at the last interruption. Always returns 1.
int __nsleep(const timespec* req, timespec* rem);  // NOLINT(bugprone-reserved-identifier)
