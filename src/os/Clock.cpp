#include "os/Clock.h"

#include <atomic>
#include <cerrno>

namespace {

class CSystemClock final : public CClock {
public:
    timeval Now() override {
        timeval now{};
        gettimeofday(&now, nullptr);
        return now;
    }
    bool Sleep(const timespec& length, timespec& left) override {
        return nanosleep(&length, &left) == 0 || errno != EINTR;
    }
};

CSystemClock g_SystemClock;
std::atomic<CClock*> g_pClock = &g_SystemClock;

}  // namespace

std::chrono::nanoseconds CClock::Elapsed() {
    return std::chrono::steady_clock::now().time_since_epoch();
}

CClock& CClock::InUse() {
    return *g_pClock;
}

CClockScope::CClockScope(CClock& clock) : m_Previous(*g_pClock.exchange(&clock)) {}

CClockScope::~CClockScope() {
    g_pClock = &m_Previous;
}
