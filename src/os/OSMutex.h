#pragma once

#include <pthread.h>

#include "os/SynchronizationMutex.h"

// A POSIX mutex with default attributes: not recursive, no order among those who wait.
class COSMutex : public CSynchronizationMutex {
public:
    // Does not destroy the POSIX mutex: that is undefined for one that is still held, and a default
    // mutex owns nothing that could leak.
    ~COSMutex() override = default;

    // Ignores the time limit and waits as long as it takes. Always returns true.
    bool WaitToLock(unsigned int /*timeoutMs*/) override HCILOAD_ACQUIRE() {
        pthread_mutex_lock(&m_Mutex);
        return true;
    }
    void Unlock() override HCILOAD_RELEASE() { pthread_mutex_unlock(&m_Mutex); }

    // The POSIX mutex, for waiting on a condition variable with it.
    pthread_mutex_t* GetHandle() { return &m_Mutex; }

private:
    pthread_mutex_t m_Mutex = PTHREAD_MUTEX_INITIALIZER;
};
