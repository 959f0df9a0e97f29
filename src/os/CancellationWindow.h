#pragma once

// Lets the calling thread be ended for a scope, if COSExecutionThread started it. Such threads run
// with cancellation disabled, so that a request to end never cuts work in half; sleeps and waits
// open a window, and only there the thread ends. Other threads are not affected.
//
// The end is a forced unwinding from inside the wait: destructors on the thread's stack run. It
// must not pass a noexcept function (destructors are), and a catch (...) must rethrow it.
class CCancellationWindow {
public:
    CCancellationWindow();
    ~CCancellationWindow();
    CCancellationWindow(const CCancellationWindow&) = delete;
    CCancellationWindow& operator=(const CCancellationWindow&) = delete;

    // Makes the calling thread one that ends only in windows.
    static void ConfineThisThread();
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
