#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <semaphore>

class CExecutionThread;

using ThreadFunction = unsigned int (*)(CExecutionThread* thread);

enum ThreadStates : int {
    THREAD_STATE_NO_FUNCTION = 0,
    THREAD_STATE_READY = 1,
    THREAD_STATE_START_FAILED = 2,
    THREAD_STATE_RUNNING = 3,
    THREAD_STATE_FINISHED = 5,  // the function returned; a canceled thread stays at RUNNING
};

// State and result of a thread. The thread writes them without a lock and shares them with the
// thread object, so it may write even after the object is destroyed.
struct THREAD_OUTCOME {
    std::atomic<int> state{};  // one of ThreadStates
    std::atomic<unsigned int> exitCode{0};
    std::binary_semaphore started{0};  // released once the thread shares this record
};

// Runs a function on a thread of its own; the function gets the object.
//
// One thread, the owner, starts, ends, waits for and destroys the object; any thread may call
// GetState and GetExitCode. Destroying the object neither stops the thread nor waits for it: an
// owner that frees what the thread uses calls TerminateThread and WaitUntilDone first.
class CExecutionThread {
public:
    // func may be null: such a thread never runs. context is the function's own, not owned.
    CExecutionThread(ThreadFunction func, void* context) : m_pFunction(func), m_pContext(context) {
        m_pOutcome->state = func == nullptr ? THREAD_STATE_NO_FUNCTION : THREAD_STATE_READY;
    }
    CExecutionThread(const CExecutionThread&) = delete;
    CExecutionThread& operator=(const CExecutionThread&) = delete;
    virtual ~CExecutionThread() = default;

    // Asks the thread to end and returns without waiting: 0, or -2 without a thread function.
    virtual int TerminateThread() = 0;
    // Starts the thread: 0, -1 when the system cannot, -2 without a thread function.
    virtual int RunThread() = 0;
    // Waits for the end of a started thread: 0 once it has ended (or was never started), -1 when
    // the system cannot, -2 without a thread function.
    virtual int WaitUntilDone() = 0;

    const char* Description() const { return m_Description.data(); }
    void* GetContext() const { return m_pContext; }
    int GetState() const { return m_pOutcome->state; }
    unsigned int GetExitCode() const { return m_pOutcome->exitCode; }

protected:
    ThreadFunction m_pFunction;
    void* m_pContext;
    std::array<char, 64> m_Description{};
    std::shared_ptr<THREAD_OUTCOME> m_pOutcome = std::make_shared<THREAD_OUTCOME>();
};
