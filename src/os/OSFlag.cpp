#include "os/OSFlag.h"

#include "os/CancellationWindow.h"
#include "os/LockGuard.h"

namespace {

timespec MonotonicTimeAfter(std::chrono::nanoseconds limit) {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const auto then =
        std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec) + limit;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(then);
    return {seconds.count(), (then - seconds).count()};
}

}  // namespace

COSFlag::COSFlag() {
    pthread_condattr_t monotonic;
    pthread_condattr_init(&monotonic);
    pthread_condattr_setclock(&monotonic, CLOCK_MONOTONIC);
    pthread_cond_init(&m_Raised, &monotonic);
    pthread_condattr_destroy(&monotonic);
}

COSFlag::~COSFlag() {
    pthread_cond_destroy(&m_Raised);
}

void COSFlag::Raise() {
    {
        const CLockGuard held(m_Mutex);
        m_bRaised = true;
    }
    pthread_cond_signal(&m_Raised);  // the thread that wakes finds the lock free
}

void COSFlag::Lower() {
    const CLockGuard held(m_Mutex);
    m_bRaised = false;
}

bool COSFlag::WaitUntilRaised(std::chrono::nanoseconds limit) {
    const timespec deadline = MonotonicTimeAfter(limit);
    const CLockGuard held(m_Mutex);
    const CCancellationWindow window;
    while (!m_bRaised && pthread_cond_timedwait(&m_Raised, m_Mutex.GetHandle(), &deadline) == 0) {
    }
    return m_bRaised;
}
