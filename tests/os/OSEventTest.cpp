#include "os/OSEvent.h"

#include <gtest/gtest.h>
#include <sys/time.h>

#include <atomic>
#include <thread>

#include "os/OSTime.h"
#include "os/TimeLimit.h"

namespace {

TEST(OSEvent, DeadlineDoesNotCarryIntoTheSeconds) {
    struct {
        long microseconds;
        unsigned int timeoutMs;
        long seconds;
        long nanoseconds;
    } const cases[] = {
        {0, 0, 100, 0},
        {250000, 1500, 101, 750000000},
        {250000, 1749, 101, 999000000},
        {250000, 1750, 101, 1000000000},  // kept: a carry would make this 102 s, 0 ns
        {999999, 4294967295U, 100 + 4294967, 1294999000},
    };
    for (const auto& c : cases) {
        const timespec deadline = EventDeadline(timeval{100, c.microseconds}, c.timeoutMs);
        EXPECT_EQ(deadline.tv_sec, c.seconds) << c.timeoutMs;
        EXPECT_EQ(deadline.tv_nsec, c.nanoseconds) << c.timeoutMs;
    }
}

TEST(OSEvent, LimitThatWouldCarryEndsAtOnce) {
    COSEvent event;
    // Early in a second, so that it does not end before the deadline is made.
    while (GetCurrentOSTimeMS() / 100 != 1) {
        PutThreadToSleep(10);
    }
    timeval start{};
    timeval end{};
    gettimeofday(&start, nullptr);
    EXPECT_FALSE(event.WaitForSignal(3600999));
    gettimeofday(&end, nullptr);
    EXPECT_LT(end.tv_sec - start.tv_sec, 60);
}

TEST(OSEvent, HasNoMemory) {
    COSEvent event;
    event.SetEvent();
    EXPECT_FALSE(event.WaitForSignal(0));
    event.SetEvent();
    EXPECT_FALSE(event.WaitForSignal(20));
}

TEST(OSEvent, WaitWithoutLimitEndsBySignal) {
    COSEvent event;
    std::atomic<bool> woken{false};
    std::thread waiter([&] {
        EXPECT_TRUE(event.WaitForSignal(NO_TIME_LIMIT));
        woken = true;
    });
    while (!woken) {  // the event forgets what comes before the wait
        event.SetEvent();
        PutThreadToSleep(1);
    }
    waiter.join();
}

}  // namespace
