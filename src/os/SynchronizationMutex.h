#pragma once

#include "os/ThreadSafety.h"

// A lock, not recursive. Any thread may call any operation; the thread that holds the lock unlocks
// it.
class HCILOAD_CAPABILITY("mutex") CSynchronizationMutex {
public:
    CSynchronizationMutex() = default;
    CSynchronizationMutex(const CSynchronizationMutex&) = delete;
    CSynchronizationMutex& operator=(const CSynchronizationMutex&) = delete;
    virtual ~CSynchronizationMutex() = default;

    // Waits for the lock, at most timeoutMs milliseconds (0x7FFFFFFF = no limit). Returns whether
    // it is held: without a limit, always.
    virtual bool WaitToLock(unsigned int timeoutMs) HCILOAD_TRY_ACQUIRE(true) = 0;
    virtual void Unlock() HCILOAD_RELEASE() = 0;
};
