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
#include "support/FakeClock.h"

namespace {

using std::chrono::milliseconds;

TEST(OSTime, TellsTheTimeOfDayAndTheMillisecondsOfTheSecond) {
    CFakeClock clock;
    PutThreadToSleep(3661042);
    EXPECT_EQ(clock.GetElapsed(), milliseconds(3661042));
    EXPECT_EQ(GetCurrentOSTimeMS(), 42U);
    { const CFakeClock another; }  // the first one is in use again
    PutThreadToSleep(958);
    EXPECT_EQ(GetCurrentOSTimeMS(), 0U);
    PutThreadToSleep(999);

    setenv("TZ", "XXX-05:45", 1);
    tzset();
    dth now{9, 9, 9, 9, 9, 9, 9};
    GetCurrentOSTime(&now);
    unsetenv("TZ");
    tzset();
    EXPECT_EQ(now.year + now.month + now.day, 0);
    EXPECT_EQ(now.hour, 6);
    EXPECT_EQ(now.minute, 46);
    EXPECT_EQ(now.second, 2);
    EXPECT_EQ(now.milliseconds, 999);
}

TEST(OSTime, SleepsThroughSignals) {
    struct sigaction quiet {};
    struct sigaction previous {};
    quiet.sa_handler = [](int) {};
    sigaction(SIGUSR1, &quiet, &previous);
    std::atomic<bool> done{false};
    const pthread_t sleeper = pthread_self();
    std::thread nuisance([&] {
        while (!done) {
            pthread_kill(sleeper, SIGUSR1);
            std::this_thread::sleep_for(milliseconds(5));
        }
    });
    const auto start = std::chrono::steady_clock::now();
    PutThreadToSleep(50);
    timespec left{9, 9};
    const timespec request{0, 50000000};
    EXPECT_EQ(__nsleep(&request, &left), 1);
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(100));
    done = true;
    nuisance.join();
    sigaction(SIGUSR1, &previous, nullptr);
    EXPECT_EQ(left.tv_sec, 0) << "what was left at the last interruption";
}

TEST(MACAddress, IsTheFixedOne) {
    std::array<unsigned char, 8> out{};
    GetMACAddress(out.data() + 1);
    EXPECT_EQ(out, (std::array<unsigned char, 8>{0, 1, 2, 3, 4, 5, 6, 0}));
}

}  // namespace
