#pragma once

#include <sys/time.h>

#include <ctime>

// The wall clock and the sleeps of the process. Everything in os/OSTime.h and the time limits of
// events go through the clock that is in use: the system's, unless a test has put in another.
//
// Any thread may call both operations of a clock, also at the same time.
class CClock {
public:
    virtual timeval Now() = 0;

    // Sleeps for length. False when a signal ended the sleep early: left is what remains of it.
    // A place where a canceled thread ends.
    virtual bool Sleep(const timespec& length, timespec& left) = 0;

    static CClock& InUse();

protected:
    ~CClock() = default;  // a clock is never destroyed through this interface
};

// Puts a clock in use for a scope. Scopes nest. No other thread may use the time when the scope
// begins or ends: start threads inside it, and wait until they are done before it ends.
class CClockScope {
public:
    explicit CClockScope(CClock& clock);
    ~CClockScope();
    CClockScope(const CClockScope&) = delete;
    CClockScope& operator=(const CClockScope&) = delete;

private:
    CClock& m_Previous;
};
