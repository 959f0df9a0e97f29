#include "os/OSExecutionThread.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <iterator>
#include <thread>

#include "os/FairMutex.h"
#include "os/LockGuard.h"
#include "os/OSEvent.h"
#include "os/OSFlag.h"
#include "os/OSTime.h"
#include "os/ThreadWaits.h"
#include "os/TimeLimit.h"
#include "support/UnaffordableThreads.h"
#include "util/FormatText.h"

namespace {

// Runs the function that is the thread's context.
using Body = std::function<unsigned int(CExecutionThread*)>;
unsigned int CallContext(CExecutionThread* thread) {
    return (*static_cast<Body*>(thread->GetContext()))(thread);
}

std::ptrdiff_t CountThreads() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return std::distance(begin(tasks), end(tasks));
}

TEST(OSExecutionThread, WithoutFunctionRefusesEverything) {
    COSExecutionThread thread(nullptr, nullptr);
    EXPECT_EQ(thread.RunThread(), -2);
    EXPECT_EQ(thread.TerminateThread(), -2);
    EXPECT_EQ(thread.WaitUntilDone(), -2);
    EXPECT_EQ(thread.GetState(), THREAD_STATE_NO_FUNCTION);
}

TEST(OSExecutionThread, RunsOnceAndKeepsTheExitCode) {
    std::string description;
    Body body = [&](CExecutionThread* thread) {
        EXPECT_EQ(thread->GetState(), THREAD_STATE_RUNNING);
        description = FormatText("Linux pthread %08X", static_cast<unsigned int>(pthread_self()));
        return 0xFFFFFFFEU;
    };
    COSExecutionThread thread(CallContext, &body);
    {
        const CUnaffordableThreads none;
        EXPECT_EQ(thread.GetState(), THREAD_STATE_READY);
        EXPECT_EQ(thread.RunThread(), -1);
        EXPECT_EQ(thread.GetState(), THREAD_STATE_START_FAILED);
    }
    EXPECT_STREQ(thread.Description(), "");
    EXPECT_EQ(thread.TerminateThread(), 0) << "nothing to end yet";
    EXPECT_EQ(thread.WaitUntilDone(), 0) << "nothing to wait for yet";
    ASSERT_EQ(thread.RunThread(), 0);
    EXPECT_EQ(thread.WaitUntilDone(), 0);
    EXPECT_EQ(thread.WaitUntilDone(), 0);
    EXPECT_EQ(thread.TerminateThread(), 0);
    EXPECT_EQ(thread.GetState(), THREAD_STATE_FINISHED);
    EXPECT_EQ(thread.GetExitCode(), 0xFFFFFFFEU);
    EXPECT_EQ(thread.Description(), description);
}

// Where an endless thread may end: asleep, in an event wait, holding a lock or not.
TEST(OSExecutionThread, EndsOnlyWhereItSleeps) {
    CFairMutex lock;
    COSEvent event;
    COSFlag flag;
    const std::function<void()> pauses[] = {
        [] { PutThreadToSleep(3600000); },
        [&] { event.WaitForSignal(3600000); },
        [&] { event.WaitForSignal(NO_TIME_LIMIT); },
        [&] { flag.WaitUntilRaised(std::chrono::hours(1)); },
        [&] {
            const CLockGuard held(lock);
            PutThreadToSleep(3600000);
        },
    };
    for (const auto& pause : pauses) {
        std::atomic<bool> begun = false;
        std::atomic<bool> canceled = false;
        bool finished = false;
        Body body = [&](CExecutionThread*) -> unsigned int {
            PutThreadToSleep(1);
            { const CLockGuard released(lock); }
            begun = true;
            while (!canceled) {
            }
            pthread_testcancel();  // as in a read or a write, which must not be cut in half
            finished = true;
            for (;;) {
                pause();
            }
        };
        COSExecutionThread thread(CallContext, &body);
        ASSERT_EQ(thread.RunThread(), 0);
        ASSERT_TRUE(ComesTrue([&] { return begun.load(); }));
        EXPECT_EQ(thread.TerminateThread(), 0);
        canceled = true;
        EXPECT_EQ(thread.WaitUntilDone(), 0);
        EXPECT_TRUE(finished);
        EXPECT_EQ(thread.GetState(), THREAD_STATE_RUNNING) << "its function did not return";
        const CLockGuard free(lock);  // the unwinding gave it back
        event.SetEvent();
        flag.Raise();
        flag.Lower();
    }
}

std::atomic<bool> g_bGo = false;
std::atomic<int> g_nEnded = 0;

TEST(OSExecutionThread, OutlivesItsObjectAndLeavesNothingBehind) {
    std::thread([] {}).join();  // with the first, a sanitizer may start one of its own
    const std::ptrdiff_t others = CountThreads();
    const ThreadFunction waitForGo = [](CExecutionThread*) {
        while (!g_bGo) {
            PutThreadToSleep(1);
        }
        return static_cast<unsigned int>(++g_nEnded);
    };
    for (int i = 0; i < 20; ++i) {
        COSExecutionThread thread(waitForGo, nullptr);
        ASSERT_EQ(thread.RunThread(), 0);
    }
    EXPECT_EQ(CountThreads(), others + 20);
    g_bGo = true;
    EXPECT_TRUE(ComesTrue([&] { return CountThreads() == others; }));
    EXPECT_EQ(g_nEnded, 20);
    g_bGo = false;
    for (int i = 0; i < 30; ++i) {
        COSExecutionThread thread(waitForGo, nullptr);
        ASSERT_EQ(thread.RunThread(), 0);
        thread.TerminateThread();
        ASSERT_EQ(thread.WaitUntilDone(), 0);
    }
    EXPECT_TRUE(ComesTrue([&] { return CountThreads() == others; }));
    EXPECT_EQ(g_nEnded, 20);
}

}  // namespace
