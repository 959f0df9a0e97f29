#pragma once

#include <pthread.h>

#include "os/SynchronizationMutex.h"

// A POSIX mutex with default attributes: not recursive, no order among those who wait.
class COSMutex : public CSynchronizationMutex {
public:
    COSMutex() = default;
    COSMutex(const COSMutex&) = delete;
    COSMutex& operator=(const COSMutex&) = delete;
    // Does not destroy the POSIX mutex: one that is still held at this moment would make that
    // undefined, and a default mutex owns nothing that could leak.
    ~COSMutex() override = default;

    // Waits as long as it takes: the time limit is accepted and ignored. Always returns true.
    bool WaitToLock(unsigned int timeoutMs) override;
    void Unlock() override;

private:
    pthread_mutex_t m_Mutex = PTHREAD_MUTEX_INITIALIZER;
};
