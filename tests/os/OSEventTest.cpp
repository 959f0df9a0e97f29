#include "os/OSEvent.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <thread>
#include <vector>

#include "os/ThreadWaits.h"
#include "os/TimeLimit.h"
#include "support/FakeClock.h"

namespace {

TEST(OSEvent, DeadlineDoesNotCarryIntoTheSeconds) {
    const struct {
        long microseconds;
        unsigned int timeoutMs;
        long seconds, nanoseconds;
    } cases[] = {
        {0, 0, 100, 0},
        {250000, 1500, 101, 750000000},
        {250000, 1749, 101, 999000000},
        {250000, 1750, 101, 1000000000},  // with a carry: 102 s, 0 ns
        {999999, 4294967295U, 100 + 4294967, 1294999000},
    };
    for (const auto& c : cases) {
        const timespec deadline = EventDeadline(timeval{100, c.microseconds}, c.timeoutMs);
        EXPECT_EQ(deadline.tv_sec, c.seconds) << c.timeoutMs;
        EXPECT_EQ(deadline.tv_nsec, c.nanoseconds) << c.timeoutMs;
    }
}

// The wall clock, but for the end of a second, where a limit would carry.
struct CRoundedClock final : CClock {
    timeval Now() override {
        timeval now{};
        gettimeofday(&now, nullptr);
        return now.tv_usec < 900000 ? now : timeval{now.tv_sec + 1, 0};
    }
    bool Sleep(const timespec&, timespec&) override { return true; }
};

TEST(OSEvent, WaitsAsLongAsTheLimitAndForgetsWhatCameBefore) {
    CRoundedClock clock;
    const CClockScope inUse(clock);
    COSEvent event;
    const auto start = std::chrono::steady_clock::now();
    event.SetEvent();
    EXPECT_FALSE(event.WaitForSignal(50));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(45));
    EXPECT_FALSE(event.WaitForSignal(0));
}

TEST(OSEvent, WakesOneOfThoseThatWait) {
    const CFakeClock longAgo;  // so that any time limit would have passed
    COSEvent event;
    std::atomic<int> woken = 0;
    std::atomic<int> ids[2] = {};
    std::vector<std::jthread> waiters;
    waiters.reserve(2);
    for (std::atomic<int>& id : ids) {
        waiters.emplace_back([&] {
            id = gettid();
            EXPECT_TRUE(event.WaitForSignal(NO_TIME_LIMIT));
            ++woken;
        });
        EXPECT_TRUE(FallsAsleep(id));
    }
    for (const int expected : {1, 2}) {
        event.SetEvent();
        EXPECT_TRUE(ComesTrue([&] { return woken >= expected; }));
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_EQ(woken, expected);
    }
}

}  // namespace
