#pragma once

#include <chrono>

#include "os/OSMutex.h"

// A flag that one thread raises and another waits for. Unlike an event, it stays raised until it is
// lowered, and its time limit does not depend on the wall clock. Any thread may call any operation.
class COSFlag {
public:
    COSFlag();
    ~COSFlag();  // nobody may wait any more
    COSFlag(const COSFlag&) = delete;
    COSFlag& operator=(const COSFlag&) = delete;

    void Raise() HCILOAD_EXCLUDES(m_Mutex);
    void Lower() HCILOAD_EXCLUDES(m_Mutex);

    // False if the flag is not raised within the limit. A canceled thread ends here.
    bool WaitUntilRaised(std::chrono::nanoseconds limit) HCILOAD_EXCLUDES(m_Mutex);

private:
    COSMutex m_Mutex;
    pthread_cond_t m_Raised;
    bool m_bRaised HCILOAD_GUARDED_BY(m_Mutex) = false;
};
