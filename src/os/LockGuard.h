#pragma once

#include "os/SynchronizationMutex.h"
#include "os/TimeLimit.h"

// Holds a lock for the length of a scope. The lock must outlive the guard.
class CLockGuard {
public:
    explicit CLockGuard(CSynchronizationMutex& mutex, unsigned int timeoutMs = NO_TIME_LIMIT)
        : m_Mutex(mutex), m_bHeld(mutex.WaitToLock(timeoutMs)) {}
    ~CLockGuard() {
        if (m_bHeld) {
            m_Mutex.Unlock();
        }
    }
    CLockGuard(const CLockGuard&) = delete;
    CLockGuard& operator=(const CLockGuard&) = delete;

    bool IsHeld() const { return m_bHeld; }

private:
    CSynchronizationMutex& m_Mutex;
    const bool m_bHeld;
};
