#pragma once

// Threads started by COSExecutionThread run with cancellation disabled, so that a request to end
// never cuts work in half. Sleeps and event waits open a window while they wait: there, and only
// there, such a thread ends. In any other thread a window changes nothing.
//
// The end comes as a forced unwinding from inside the wait: destructors on the thread's stack run.
// It must not pass a noexcept function (destructors are), and a catch (...) must rethrow it.
class CCancellationWindow {
public:
    CCancellationWindow();
    ~CCancellationWindow();
    CCancellationWindow(const CCancellationWindow&) = delete;
    CCancellationWindow& operator=(const CCancellationWindow&) = delete;

    // Makes the calling thread one that ends only in windows.
    static void ConfineThisThread();

private:
    int m_nPreviousState;
};

// Keeps cancellation off for a scope, in any thread.
class CCancellationShield {
public:
    CCancellationShield();
    ~CCancellationShield();
    CCancellationShield(const CCancellationShield&) = delete;
    CCancellationShield& operator=(const CCancellationShield&) = delete;

private:
    int m_nPreviousState;
};
