#include "os/FairMutex.h"

#include "os/CancellationWindow.h"
#include "os/LockGuard.h"

CFairMutex::~CFairMutex() {
    pthread_cond_destroy(&m_Turn);
}

bool CFairMutex::WaitToLock(unsigned int /*timeoutMs*/) {
    WaitForTurn();
    return true;
}

void CFairMutex::Unlock() {
    ServeNext();
}

void CFairMutex::WaitForTurn() {
    // A thread that ended in the wait below would leave a ticket that nobody takes up.
    const CCancellationShield shield;
    const CLockGuard held(m_Mutex);
    const std::uint64_t ticket = m_nNextTicket++;
    while (ticket != m_nNowServing) {
        pthread_cond_wait(&m_Turn, m_Mutex.GetHandle());
    }
}

void CFairMutex::ServeNext() {
    const CLockGuard held(m_Mutex);
    ++m_nNowServing;
    pthread_cond_broadcast(&m_Turn);
}
