#include "os/CancellationWindow.h"

#include <pthread.h>

namespace {

thread_local bool g_bConfined = false;

int SetCancelState(int state) {
    int previous = PTHREAD_CANCEL_ENABLE;
    pthread_setcancelstate(state, &previous);
    return previous;
}

}  // namespace

void CCancellationWindow::ConfineThisThread() {
    g_bConfined = true;
    SetCancelState(PTHREAD_CANCEL_DISABLE);
}

CCancellationWindow::CCancellationWindow() {
    if (g_bConfined) {
        SetCancelState(PTHREAD_CANCEL_ENABLE);
    }
}

CCancellationWindow::~CCancellationWindow() {
    if (g_bConfined) {
        SetCancelState(PTHREAD_CANCEL_DISABLE);
    }
}

CCancellationShield::CCancellationShield()
    : m_nPreviousState(SetCancelState(PTHREAD_CANCEL_DISABLE)) {}

CCancellationShield::~CCancellationShield() {
    SetCancelState(m_nPreviousState);
}
