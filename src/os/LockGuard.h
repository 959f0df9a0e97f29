#pragma once

#include "os/SynchronizationMutex.h"
#include "os/TimeLimit.h"

// Holds a lock for a scope; waits for it as long as it takes. The lock must outlive the guard.
class HCILOAD_SCOPED_CAPABILITY CLockGuard {
public:
    explicit CLockGuard(CSynchronizationMutex& mutex) HCILOAD_ACQUIRE(mutex) : m_Mutex(mutex) {
        m_Mutex.WaitToLock(NO_TIME_LIMIT);
    }
    ~CLockGuard() HCILOAD_RELEASE() { m_Mutex.Unlock(); }
    CLockGuard(const CLockGuard&) = delete;
    CLockGuard& operator=(const CLockGuard&) = delete;

private:
    CSynchronizationMutex& m_Mutex;
};
