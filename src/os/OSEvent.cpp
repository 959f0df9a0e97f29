#include "os/OSEvent.h"

#include "os/CancellationWindow.h"
#include "os/Clock.h"
#include "os/LockGuard.h"

COSEvent::~COSEvent() {
    pthread_cond_destroy(&m_Condition);
    pthread_mutex_destroy(m_Mutex.GetHandle());
}

// Without the carry, a timed wait until such a time fails at once, which reads as a time-out. That
// is fixed behaviour; callers check a condition of their own anyway.
timespec EventDeadline(const timeval& now, unsigned int timeoutMs) {
    timespec deadline{};
    deadline.tv_sec = now.tv_sec + static_cast<time_t>(timeoutMs / 1000);
    deadline.tv_nsec =
        static_cast<long>(now.tv_usec) * 1000 + static_cast<long>(timeoutMs % 1000) * 1000000;
    return deadline;
}

bool COSEvent::WaitForSignal(unsigned int timeoutMs) {
    const timespec deadline = EventDeadline(CClock::InUse().Now(), timeoutMs);
    const CLockGuard held(m_Mutex);
    const CCancellationWindow window;
    if (timeoutMs == NO_TIME_LIMIT) {
        return pthread_cond_wait(&m_Condition, m_Mutex.GetHandle()) == 0;
    }
    return pthread_cond_timedwait(&m_Condition, m_Mutex.GetHandle(), &deadline) == 0;
}

void COSEvent::SetEvent() {
    const CLockGuard held(m_Mutex);
    pthread_cond_signal(&m_Condition);
}
