#include "os/OSExecutionThread.h"

#include <cstdint>
#include <cstdio>

#include "os/CancellationWindow.h"

COSExecutionThread::~COSExecutionThread() {
    DetachThread();
}

int COSExecutionThread::RunThread() {
    if (m_pFunction == nullptr) {
        return -2;
    }
    DetachThread();
    // Set first: the thread may have finished by the time pthread_create returns.
    m_pOutcome->state = THREAD_STATE_RUNNING;
    m_nCreateResult = pthread_create(&m_hThread, nullptr, LinuxThreadProc, this);
    if (m_nCreateResult != 0) {
        m_pOutcome->state = THREAD_STATE_START_FAILED;
        return -1;
    }
    m_bJoinable = true;
    m_pOutcome->started.acquire();
    return 0;
}

int COSExecutionThread::TerminateThread() {
    if (m_pFunction == nullptr) {
        return -2;
    }
    if (m_bJoinable) {
        pthread_cancel(m_hThread);
    }
    return 0;
}

int COSExecutionThread::WaitUntilDone() {
    if (m_pFunction == nullptr) {
        return -2;
    }
    if (m_bJoinable && pthread_join(m_hThread, nullptr) != 0) {
        return -1;
    }
    m_bJoinable = false;
    return 0;
}

void COSExecutionThread::DetachThread() {
    if (m_bJoinable) {
        pthread_detach(m_hThread);
        m_bJoinable = false;
    }
}

void* LinuxThreadProc(void* thread) {
    CCancellationWindow::ConfineThisThread();
    auto* const self = static_cast<COSExecutionThread*>(thread);
    const ThreadFunction function = self->m_pFunction;
    const std::shared_ptr<THREAD_OUTCOME> outcome = self->m_pOutcome;
    // The low 32 bits tell threads apart. The C cast because pthread_t is a number on Linux and a
    // pointer elsewhere.
    const auto handle = static_cast<std::uint32_t>((std::uintptr_t)pthread_self());
    std::snprintf(self->m_Description.data(), self->m_Description.size(), "Linux pthread %08X",
                  handle);
    // From here on only the function may touch the object: its owner may destroy it.
    outcome->started.release();

    outcome->exitCode = function(self);
    outcome->state = THREAD_STATE_FINISHED;
    return nullptr;
}
