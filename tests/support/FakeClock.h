#pragma once

#include <pthread.h>

#include <chrono>
#include <functional>
#include <mutex>
#include <utility>

#include "os/Clock.h"

// Time that stands still until somebody sleeps: a sleep moves it on at once, by exactly its length.
// In use while the object lives; the thread rule is that of CClockScope. It starts at 0.
class CFakeClock final : public CClock {
public:
    using Duration = std::chrono::nanoseconds;
    // Runs in each sleep, on the sleeping thread, after time has moved on: with the time since the
    // start. What a device would do meanwhile is done here.
    using SleepHook = std::function<void(Duration elapsed)>;

    explicit CFakeClock(SleepHook hook = nullptr) : m_Hook(std::move(hook)), m_InUse(*this) {}

    timeval Now() override {
        const auto micro = std::chrono::duration_cast<std::chrono::microseconds>(GetElapsed());
        return {static_cast<time_t>(micro.count() / 1000000), micro.count() % 1000000};
    }

    bool Sleep(const timespec& length, timespec& /*left*/) override {
        pthread_testcancel();
        Duration elapsed;
        {
            const std::lock_guard<std::mutex> held(m_Mutex);
            m_Elapsed += std::chrono::seconds(length.tv_sec) + Duration(length.tv_nsec);
            elapsed = m_Elapsed;
        }
        if (m_Hook) {
            m_Hook(elapsed);
        }
        return true;
    }

    Duration Elapsed() override { return GetElapsed(); }

    Duration GetElapsed() const {
        const std::lock_guard<std::mutex> held(m_Mutex);
        return m_Elapsed;
    }

private:
    const SleepHook m_Hook;
    mutable std::mutex m_Mutex;
    Duration m_Elapsed{0};
    CClockScope m_InUse;
};
