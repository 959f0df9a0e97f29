#pragma once

#include <pthread.h>

#include <cstdint>

#include "os/SynchronizationMutex.h"

// A lock that is granted in the order of asking. With a plain mutex a thread that unlocks and locks
// again within microseconds keeps everybody else out for as long as it does so; here it queues up
// behind those who already wait. Not recursive; must not be destroyed while held or waited for.
class CFairMutex : public CSynchronizationMutex {
public:
    CFairMutex() = default;
    CFairMutex(const CFairMutex&) = delete;
    CFairMutex& operator=(const CFairMutex&) = delete;
    ~CFairMutex() override;

    // Waits as long as it takes: like COSMutex it ignores the time limit and always returns true.
    bool WaitToLock(unsigned int timeoutMs) override;
    void Unlock() override;

private:
    pthread_mutex_t m_Mutex = PTHREAD_MUTEX_INITIALIZER;  // guards the two numbers below
    pthread_cond_t m_Turn = PTHREAD_COND_INITIALIZER;
    std::uint64_t m_nNextTicket = 0;
    std::uint64_t m_nNowServing = 0;
};
