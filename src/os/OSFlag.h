#pragma once

#include <semaphore.h>

#include <atomic>
#include <chrono>

// A flag that one thread raises and another waits for. Unlike an event, it stays raised until it is
// lowered, takes no lock, and its time limit does not depend on the wall clock. Any thread may
// raise it; one thread lowers it and waits for it.
class COSFlag {
public:
    COSFlag() { sem_init(&m_Signal, 0, 0); }
    ~COSFlag() { sem_destroy(&m_Signal); }  // nobody may wait any more
    COSFlag(const COSFlag&) = delete;
    COSFlag& operator=(const COSFlag&) = delete;

    void Raise();
    void Lower();

    // False if the flag is not raised within the limit. A canceled thread ends here.
    bool WaitUntilRaised(std::chrono::nanoseconds limit);

private:
    std::atomic<bool> m_bRaised{false};
    sem_t m_Signal;  // wakes the thread that waits; may be left over from an earlier time
};
