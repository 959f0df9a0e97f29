#pragma once

#include "os/ThreadSafety.h"

// A lock as the rest of the system sees it. Any thread may call any operation; the thread that got
// the lock is the one that unlocks it. Not recursive.
class HCILOAD_CAPABILITY("mutex") CSynchronizationMutex {
public:
    virtual ~CSynchronizationMutex() = default;

    // Waits until the lock is held. timeoutMs: milliseconds, 0x7FFFFFFF = no limit.
    // Returns whether the lock is held: without a limit, always.
    virtual bool WaitToLock(unsigned int timeoutMs) HCILOAD_TRY_ACQUIRE(true) = 0;
    virtual void Unlock() HCILOAD_RELEASE() = 0;
};
