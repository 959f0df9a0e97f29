#include "os/OSFlag.h"

#include <cerrno>
#include <ctime>

#include "os/CancellationWindow.h"

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

void COSFlag::Raise() {
    if (!m_bRaised.exchange(true)) {
        sem_post(&m_Signal);
    }
}

void COSFlag::Lower() {
    if (m_bRaised.exchange(false)) {
        sem_trywait(&m_Signal);
    }
}

bool COSFlag::WaitUntilRaised(std::chrono::nanoseconds limit) {
    const timespec deadline = MonotonicTimeAfter(limit);
    const CCancellationWindow window;
    while (!m_bRaised) {
        if (sem_clockwait(&m_Signal, CLOCK_MONOTONIC, &deadline) != 0 && errno != EINTR) {
            break;
        }
    }
    return m_bRaised;
}
