#pragma once

#include <pthread.h>

#include "os/ExecutionThread.h"

// A POSIX thread with default attributes, meant to be run once.
//
// The thread ends where its function returns or, after TerminateThread, where it sleeps or waits
// for an event (see CancellationWindow.h for what that asks of the function). Destroying the object
// without WaitUntilDone lets the thread run on by itself; its memory goes back at its end.
class COSExecutionThread : public CExecutionThread {
public:
    COSExecutionThread(ThreadFunction func, void* context);
    COSExecutionThread(const COSExecutionThread&) = delete;
    COSExecutionThread& operator=(const COSExecutionThread&) = delete;
    ~COSExecutionThread() override;

    int TerminateThread() override;
    int RunThread() override;
    int WaitUntilDone() override;

private:
    friend void* LinuxThreadProc(void* thread);

    void LetGoOfThread();

    pthread_t m_hThread = 0;
    int m_nCreateResult = 0;   // what pthread_create returned
    bool m_bJoinable = false;  // there is a thread that nobody has waited for
};

// The entry of every thread; takes the COSExecutionThread. Calls its function, keeps the result as
// the exit code and marks the thread as finished. Returns null.
void* LinuxThreadProc(void* thread);
