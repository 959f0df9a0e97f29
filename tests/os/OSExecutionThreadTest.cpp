#include "os/OSExecutionThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <iterator>
#include <string>

#include "os/FairMutex.h"
#include "os/LockGuard.h"
#include "os/OSEvent.h"
#include "os/OSTime.h"
#include "os/TimeLimit.h"

namespace {

// Runs the std::function that is the thread's context.
unsigned int CallContext(CExecutionThread* thread) {
    return (*static_cast<std::function<unsigned int(CExecutionThread*)>*>(thread->GetContext()))(
        thread);
}
using Body = std::function<unsigned int(CExecutionThread*)>;

std::size_t CountThreads() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
}

TEST(OSExecutionThread, WithoutFunctionRefusesEverything) {
    COSExecutionThread thread(nullptr, nullptr);
    EXPECT_EQ(thread.GetState(), THREAD_STATE_NO_FUNCTION);
    EXPECT_EQ(thread.RunThread(), -2);
    EXPECT_EQ(thread.TerminateThread(), -2);
    EXPECT_EQ(thread.WaitUntilDone(), -2);
    EXPECT_EQ(thread.GetState(), THREAD_STATE_NO_FUNCTION);
}

TEST(OSExecutionThread, RunsOnceAndKeepsTheExitCode) {
    std::uint32_t handle = 0;
    Body body = [&](CExecutionThread* thread) {
        EXPECT_EQ(thread->GetState(), THREAD_STATE_RUNNING);
        handle = static_cast<std::uint32_t>(static_cast<std::uintptr_t>(pthread_self()));
        return 0xFFFFFFFEU;
    };
    COSExecutionThread thread(CallContext, &body);
    EXPECT_EQ(thread.GetState(), THREAD_STATE_READY);
    EXPECT_STREQ(thread.Description(), "");
    EXPECT_EQ(thread.TerminateThread(), 0) << "nothing to end yet";
    EXPECT_EQ(thread.WaitUntilDone(), 0) << "nothing to wait for yet";
    ASSERT_EQ(thread.RunThread(), 0);
    EXPECT_EQ(thread.WaitUntilDone(), 0);
    EXPECT_EQ(thread.WaitUntilDone(), 0);
    EXPECT_EQ(thread.TerminateThread(), 0);
    EXPECT_EQ(thread.GetState(), THREAD_STATE_FINISHED);
    EXPECT_EQ(thread.GetExitCode(), 0xFFFFFFFEU);
    char expected[64];
    std::snprintf(expected, sizeof(expected), "Linux pthread %08X", handle);
    EXPECT_STREQ(thread.Description(), expected);
}

TEST(OSExecutionThread, TellsThatTheSystemCannotStartIt) {
    pthread_attr_t usual;
    pthread_attr_t impossible;
    pthread_getattr_default_np(&usual);
    pthread_attr_init(&impossible);
    pthread_attr_setstacksize(&impossible, std::size_t{1} << 60);
    pthread_setattr_default_np(&impossible);
    {
        COSExecutionThread thread(CallContext, nullptr);
        EXPECT_EQ(thread.RunThread(), -1);
        EXPECT_EQ(thread.GetState(), THREAD_STATE_START_FAILED);
        EXPECT_STREQ(thread.Description(), "");
        EXPECT_EQ(thread.TerminateThread(), 0);
        EXPECT_EQ(thread.WaitUntilDone(), 0);
    }
    pthread_setattr_default_np(&usual);
    pthread_attr_destroy(&impossible);
    pthread_attr_destroy(&usual);
}

// Where an endless thread may end: asleep, in an event wait, holding a lock or not.
TEST(OSExecutionThread, EndsOnlyWhereItSleeps) {
    CFairMutex lock;
    COSEvent event;
    const std::function<void()> pauses[] = {
        [] { PutThreadToSleep(1); },
        [] { PutThreadToSleep(3600000); },
        [&] { event.WaitForSignal(NO_TIME_LIMIT); },
        [&] {
            const CLockGuard held(lock);
            PutThreadToSleep(3600000);
        },
    };
    for (const auto& pause : pauses) {
        int begun = 0;
        int finished = 0;
        Body body = [&](CExecutionThread*) -> unsigned int {
            for (;;) {
                ++begun;
                // Cancellation points that are none here.
                std::FILE* file = std::fopen("/dev/null", "we");
                std::fputs("x", file);
                std::fclose(file);
                ++finished;
                pause();
            }
        };
        COSExecutionThread thread(CallContext, &body);
        ASSERT_EQ(thread.RunThread(), 0);
        PutThreadToSleep(5);
        EXPECT_EQ(thread.TerminateThread(), 0);
        EXPECT_EQ(thread.WaitUntilDone(), 0);
        EXPECT_GE(begun, 1);
        EXPECT_EQ(begun, finished);
        EXPECT_EQ(thread.GetState(), THREAD_STATE_RUNNING) << "its function did not return";
        const CLockGuard free(lock);  // the unwinding gave it back
        event.SetEvent();
    }
}

std::atomic<bool> g_bGo{false};
std::atomic<int> g_nEnded{0};

// Does not touch its thread object, so that the object may go first.
unsigned int WaitForGo(CExecutionThread*) {
    while (!g_bGo) {
        PutThreadToSleep(1);
    }
    return static_cast<unsigned int>(++g_nEnded);
}

TEST(OSExecutionThread, OutlivesItsObject) {
    g_bGo = false;
    g_nEnded = 0;
    for (int i = 0; i < 20; ++i) {
        COSExecutionThread thread(WaitForGo, nullptr);
        ASSERT_EQ(thread.RunThread(), 0);
    }
    const std::size_t running = CountThreads();
    g_bGo = true;
    while (CountThreads() != running - 20) {
        PutThreadToSleep(1);
    }
    EXPECT_EQ(g_nEnded, 20);
}

unsigned int SleepForever(CExecutionThread*) {
    const std::string freedByUnwinding(1000, 'x');
    for (;;) {
        PutThreadToSleep(1);
    }
}

TEST(OSExecutionThread, LeavesNothingBehind) {
    std::size_t others = 0;
    for (int i = 0; i < 500; ++i) {
        COSExecutionThread thread(SleepForever, nullptr);
        ASSERT_EQ(thread.RunThread(), 0);
        if (i == 0) {
            others = CountThreads() - 1;
        }
        thread.TerminateThread();
        ASSERT_EQ(thread.WaitUntilDone(), 0);
    }
    while (CountThreads() != others) {  // the kernel may list a joined thread for a moment
        PutThreadToSleep(1);
    }
}

}  // namespace
