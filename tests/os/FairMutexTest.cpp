#include "os/FairMutex.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <thread>
#include <vector>

#include "os/LockGuard.h"
#include "os/OSMutex.h"
#include "os/ThreadWaits.h"

namespace {

// Who gets a lock, in order: the thread that holds it first (0), those that wait for it longer than
// the limit they give (1 and up), and the first again as soon as it has released the lock (A).
template <typename MUTEX>
std::string Order(int waiters) {
    MUTEX lock;
    std::string order = "0";
    EXPECT_TRUE(lock.WaitToLock(0));
    std::vector<std::thread> threads;
    for (int number = 1; number <= waiters; ++number) {
        std::atomic<int> id = 0;
        threads.emplace_back([&lock, &order, &id, number] {
            id = gettid();
            EXPECT_TRUE(lock.WaitToLock(1));
            order += std::to_string(number);
            lock.Unlock();
        });
        EXPECT_TRUE(FallsAsleep(id));
    }
    // A waiter that is canceled takes its turn all the same: nobody else could.
    pthread_cancel(threads.front().native_handle());
    EXPECT_EQ(order, "0");
    lock.Unlock();
    {
        const CLockGuard held(lock);
        order += 'A';
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return order;
}

TEST(FairMutex, GoesToTheThreadThatHasWaitedLongest) {
    EXPECT_EQ(Order<CFairMutex>(3), "0123A");
}

TEST(OSMutex, IsWaitedForWhateverTheTimeLimit) {
    EXPECT_EQ(Order<COSMutex>(1).size(), 3U);
}

template <typename MUTEX>
int CountUnderTheLock() {
    MUTEX lock;
    int count = 0;
    {
        std::vector<std::jthread> threads(4);
        for (std::jthread& thread : threads) {
            thread = std::jthread([&] {
                for (int i = 0; i < 2000; ++i) {
                    const CLockGuard held(lock);
                    ++count;
                }
            });
        }
    }
    return count;
}

TEST(Mutexes, LetOneThreadInAtATime) {
    EXPECT_EQ(CountUnderTheLock<CFairMutex>(), 8000);
    EXPECT_EQ(CountUnderTheLock<COSMutex>(), 8000);
}

}  // namespace
