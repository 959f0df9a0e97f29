#pragma once

#include <ctime>

#include "os/OSMutex.h"
#include "os/SynchronizationEvent.h"

// An event without memory: SetEvent wakes at most one of the threads that wait at that moment, and
// is lost if there is none. A spurious wake-up counts as a signal, so callers keep their condition
// elsewhere and check it after every wake-up.
class COSEvent : public CSynchronizationEvent {
public:
    ~COSEvent() override;  // nobody may wait any more

    // The limit is measured by the wall clock. If the milliseconds of limit and clock add up to a
    // full second, the wait ends at once as if the time were up (see the .cpp).
    bool WaitForSignal(unsigned int timeoutMs) override;
    void SetEvent() override;

private:
    pthread_cond_t m_Condition = PTHREAD_COND_INITIALIZER;
    COSMutex m_Mutex;
};

// The time timeoutMs after now, without a carry from the nanoseconds into the seconds: tv_nsec may
// be a full second or more.
timespec EventDeadline(const timeval& now, unsigned int timeoutMs);
