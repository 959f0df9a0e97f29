#pragma once

#include <cstdint>

#include "os/OSMutex.h"

// A lock that goes to the thread that has waited longest. With a plain mutex a thread that unlocks
// and locks again within microseconds keeps all others out; here it queues up behind them. Not
// recursive; must not be destroyed while held or waited for.
class CFairMutex : public CSynchronizationMutex {
public:
    ~CFairMutex() override;

    // Ignores the time limit and waits as long as it takes. Always returns true.
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
