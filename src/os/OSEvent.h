#pragma once

#include <ctime>

#include "os/OSMutex.h"
#include "os/SynchronizationEvent.h"

// An event without memory: SetEvent wakes at most one thread that waits at that moment and is lost
// when none does. Whoever waits for a condition keeps it elsewhere and looks at it again after
// every wake-up, since a wake-up without a signal counts as one.
class COSEvent : public CSynchronizationEvent {
public:
    COSEvent() = default;
    COSEvent(const COSEvent&) = delete;
    COSEvent& operator=(const COSEvent&) = delete;
    ~COSEvent() override;  // nobody may wait any more

    // The limit is kept against the wall clock. One whose milliseconds carry the clock's current
    // fraction past a full second ends at once as if the time were up (see the .cpp).
    bool WaitForSignal(unsigned int timeoutMs) override;
    void SetEvent() override;

private:
    pthread_cond_t m_Condition = PTHREAD_COND_INITIALIZER;
    COSMutex m_Mutex;
};

// The wall-clock time that lies timeoutMs after now, without a carry from the nanoseconds into the
// seconds: tv_nsec may come to a full second or more.
timespec EventDeadline(const timeval& now, unsigned int timeoutMs);
