#pragma once

// A lock as the rest of the system sees it. Any thread may call any operation; the thread that got
// the lock is the one that unlocks it. Not recursive.
class CSynchronizationMutex {
public:
    virtual ~CSynchronizationMutex() = default;

    // Waits until the lock is held. timeoutMs: milliseconds, 0x7FFFFFFF = no limit.
    // Returns whether the lock is held.
    virtual bool WaitToLock(unsigned int timeoutMs) = 0;
    virtual void Unlock() = 0;
};
