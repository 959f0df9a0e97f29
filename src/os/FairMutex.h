#pragma once

#include <cstdint>

#include "os/OSMutex.h"

// A lock that is granted in the order of asking. With a plain mutex a thread that unlocks and locks
// again within microseconds keeps all others out; here it queues up after those who already wait.
// Not recursive; must not be destroyed while held or waited for.
class CFairMutex : public CSynchronizationMutex {
public:
    CFairMutex() = default;
    CFairMutex(const CFairMutex&) = delete;
    CFairMutex& operator=(const CFairMutex&) = delete;
    ~CFairMutex() override;

    // Waits as long as it takes: like COSMutex it ignores the time limit and always returns true.
    bool WaitToLock(unsigned int timeoutMs) override HCILOAD_ACQUIRE();
    void Unlock() override HCILOAD_RELEASE();

private:
    void WaitForTurn() HCILOAD_EXCLUDES(m_Mutex);
    void ServeNext() HCILOAD_EXCLUDES(m_Mutex);

    COSMutex m_Mutex;
    pthread_cond_t m_Turn = PTHREAD_COND_INITIALIZER;
    std::uint64_t m_nNextTicket HCILOAD_GUARDED_BY(m_Mutex) = 0;
    std::uint64_t m_nNowServing HCILOAD_GUARDED_BY(m_Mutex) = 0;
};
