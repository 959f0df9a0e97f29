#include "os/OSTime.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "os/MACAddress.h"

namespace {

using Clock = std::chrono::steady_clock;

long MillisecondsSince(Clock::time_point start) {
    return static_cast<long>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
}

TEST(OSTime, MillisecondsStayWithinTheSecond) {
    // A running count would leave 0..999 or never fall back.
    bool wrapped = false;
    unsigned int previous = GetCurrentOSTimeMS();
    const auto start = Clock::now();
    while (!wrapped && MillisecondsSince(start) < 10000) {
        const unsigned int now = GetCurrentOSTimeMS();
        ASSERT_LE(now, 999U);
        wrapped = now < previous;
        previous = now;
    }
    EXPECT_TRUE(wrapped);
}

TEST(OSTime, TimeOfDayIsLocalAndHasNoDate) {
    setenv("TZ", "XXX-05:45", 1);
    tzset();
    dth stamp;
    stamp.year = stamp.milliseconds = 0xFFFF;
    stamp.month = stamp.day = 0xFF;
    const time_t before = time(nullptr);
    GetCurrentOSTime(&stamp);
    const time_t after = time(nullptr);
    unsetenv("TZ");
    tzset();

    EXPECT_EQ(stamp.year, 0);
    EXPECT_EQ(stamp.month, 0);
    EXPECT_EQ(stamp.day, 0);
    EXPECT_LE(stamp.milliseconds, 999);
    const long told = (stamp.hour * 60L + stamp.minute) * 60 + stamp.second;
    constexpr long day = 86400;
    const long sinceBefore = (told - (before + 20700) % day + day) % day;
    EXPECT_LE(sinceBefore, after - before + 1);
}

TEST(OSTime, SleepsAcrossSecondsAndThroughSignals) {
    struct sigaction quiet {};
    struct sigaction previous {};
    quiet.sa_handler = [](int) {};
    sigaction(SIGUSR1, &quiet, &previous);

    std::atomic<bool> done{false};
    const pthread_t sleeper = pthread_self();
    std::thread nuisance([&] {
        while (!done) {
            pthread_kill(sleeper, SIGUSR1);
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    });
    const auto start = Clock::now();
    PutThreadToSleep(1100);
    const long slept = MillisecondsSince(start);
    timespec left{9, 9};
    const timespec request{0, 100000000};
    EXPECT_EQ(__nsleep(&request, &left), 1);
    done = true;
    nuisance.join();
    sigaction(SIGUSR1, &previous, nullptr);

    EXPECT_GE(slept, 1100);
    EXPECT_LT(slept, 30000);
    EXPECT_EQ(left.tv_sec, 0) << "what was left at the last interruption";
}

TEST(MACAddress, IsTheFixedOne) {
    std::array<unsigned char, 8> out{};
    GetMACAddress(out.data() + 1);
    const std::array<unsigned char, 8> expected{0, 1, 2, 3, 4, 5, 6, 0};
    EXPECT_EQ(out, expected);
}

}  // namespace
