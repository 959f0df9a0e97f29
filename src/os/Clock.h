#pragma once

#include <sys/time.h>

#include <chrono>
#include <ctime>

// Tells the time and sleeps. Everything in os/OSTime.h and the time limits of events use the clock
// that is in use: the system's, unless a test has replaced it. Any thread may call any operation.
class CClock {
public:
    virtual timeval Now() = 0;

    // The time since some moment in the past. Unlike Now, it never jumps.
    virtual std::chrono::nanoseconds Elapsed();

    // Sleeps for length; a canceled thread ends here. False when a signal ended the sleep early:
    // left is then the rest of it.
    virtual bool Sleep(const timespec& length, timespec& left) = 0;

    static CClock& InUse();

protected:
    ~CClock() = default;  // a clock is never destroyed through this interface
};

// Replaces the clock in use for a scope; scopes nest. Threads that use the time start inside the
// scope and are done before it ends.
class CClockScope {
public:
    explicit CClockScope(CClock& clock);
    ~CClockScope();
    CClockScope(const CClockScope&) = delete;
    CClockScope& operator=(const CClockScope&) = delete;

private:
    CClock& m_Previous;
};
