#include "os/FairMutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "os/LockGuard.h"
#include "os/OSMutex.h"
#include "os/OSTime.h"

namespace {

TEST(FairMutex, RetakingAtOnceDoesNotStarveAnother) {
    CFairMutex lock;
    std::atomic<bool> stop{false};
    std::thread greedy([&] {
        while (!stop) {
            const CLockGuard held(lock);
            PutThreadToSleep(2);
        }
    });
    // Each turn waits for at most the one holder in front; with a plain mutex it takes forever.
    for (int i = 0; i < 50; ++i) {
        const CLockGuard held(lock);
    }
    stop = true;
    greedy.join();
}

template <typename Mutex>
void CountUnderTheLock() {
    Mutex lock;
    int count = 0;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 2000; ++i) {
                const CLockGuard held(lock);
                ++count;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(count, 8000);
}

TEST(Mutexes, ExcludeEachOther) {
    CountUnderTheLock<CFairMutex>();
    CountUnderTheLock<COSMutex>();
}

template <typename Mutex>
void WaitPastTheTimeLimit() {
    Mutex lock;
    std::atomic<bool> released{false};
    EXPECT_TRUE(lock.WaitToLock(0));
    std::thread other([&] {
        EXPECT_TRUE(lock.WaitToLock(1));
        EXPECT_TRUE(released);
        lock.Unlock();
    });
    PutThreadToSleep(30);
    released = true;
    lock.Unlock();
    other.join();
}

TEST(Mutexes, IgnoreTheTimeLimit) {
    WaitPastTheTimeLimit<CFairMutex>();
    WaitPastTheTimeLimit<COSMutex>();
}

}  // namespace
