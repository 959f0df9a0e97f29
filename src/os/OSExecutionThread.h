#pragma once

#include <pthread.h>

#include "os/ExecutionThread.h"

// A POSIX thread with default attributes, meant to be run once.
//
// The thread ends where its function returns or, after TerminateThread, where it sleeps or waits
// for an event (CancellationWindow.h says what that asks of the function). Destroying the object
// without WaitUntilDone leaves the thread running; it frees its resources when it ends.
class COSExecutionThread : public CExecutionThread {
public:
    using CExecutionThread::CExecutionThread;
    ~COSExecutionThread() override;

    int TerminateThread() override;
    int RunThread() override;
    int WaitUntilDone() override;

private:
    friend void* LinuxThreadProc(void* thread);

    void DetachThread();

    pthread_t m_hThread{};
    int m_nCreateResult = 0;   // what pthread_create returned
    bool m_bJoinable = false;  // there is a thread that is neither joined nor detached
};

// The entry of every thread; takes the COSExecutionThread. Calls its function, stores the result as
// the exit code and marks the thread as finished. Returns null.
void* LinuxThreadProc(void* thread);
