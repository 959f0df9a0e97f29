#include "os/ExecutionThread.h"

CExecutionThread::CExecutionThread(ThreadFunction func, void* context)
    : m_pFunction(func), m_pContext(context), m_pOutcome(std::make_shared<THREAD_OUTCOME>()) {
    if (func == nullptr) {
        m_pOutcome->state = THREAD_STATE_NO_FUNCTION;
    }
}
