#include "transport/SerialConnector.h"

#include <algorithm>
#include <chrono>

#include "os/Clock.h"
#include "os/OSFlag.h"
#include "os/OSTime.h"

namespace {

// One late wake-up must not count for the whole of a long wait.
constexpr unsigned int MOST_PERIODS = 25;

void SleepFor(std::chrono::nanoseconds length) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(length);
    const timespec time{seconds.count(), (length - seconds).count()};
    __nsleep(&time, nullptr);
}

}  // namespace

unsigned int CSerialConnector::SleepUntilBytes(unsigned int periodMs, unsigned int maxPeriods) {
    if (m_pArrival == nullptr || maxPeriods < 2) {
        PutThreadToSleep(periodMs);
        return 1;
    }
    maxPeriods = std::min(maxPeriods, MOST_PERIODS);
    const std::chrono::nanoseconds period = std::chrono::milliseconds(periodMs);
    const std::chrono::nanoseconds limit = period * maxPeriods;
    const std::chrono::nanoseconds start = CClock::InUse().Elapsed();
    const bool hasArrived = m_pArrival->WaitUntilRaised(limit);
    const std::chrono::nanoseconds passed = CClock::InUse().Elapsed() - start;
    if (!hasArrived) {
        // On a busy machine, each sleep would have been as late as this one.
        const std::chrono::nanoseconds late = passed - limit;
        const auto periods = passed / (late < period / 4 ? period : period + late);
        return std::clamp(static_cast<unsigned int>(periods), 1U, maxPeriods);
    }
    const unsigned int periods =
        std::min(static_cast<unsigned int>(passed / period) + 1, maxPeriods);
    SleepFor(std::max(period * periods - passed, {}));
    return periods;
}
