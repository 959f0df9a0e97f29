#include "os/CancellationWindow.h"

#include <pthread.h>

namespace {

thread_local bool g_bConfined = false;

int SetCancelState(int state) {
    int previous = PTHREAD_CANCEL_ENABLE;
    pthread_setcancelstate(state, &previous);
    return previous;
}

int CurrentCancelState() {
    const int current = SetCancelState(PTHREAD_CANCEL_DISABLE);
    SetCancelState(current);
    return current;
}

}  // namespace

void CCancellationWindow::ConfineThisThread() {
    g_bConfined = true;
    SetCancelState(PTHREAD_CANCEL_DISABLE);
}

CCancellationWindow::CCancellationWindow()
    : m_nPreviousState(g_bConfined ? SetCancelState(PTHREAD_CANCEL_ENABLE) : CurrentCancelState()) {
}

CCancellationWindow::~CCancellationWindow() {
    SetCancelState(m_nPreviousState);
}

CCancellationShield::CCancellationShield()
    : m_nPreviousState(SetCancelState(PTHREAD_CANCEL_DISABLE)) {}

CCancellationShield::~CCancellationShield() {
    SetCancelState(m_nPreviousState);
}
