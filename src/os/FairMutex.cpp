#include "os/FairMutex.h"

#include "os/CancellationWindow.h"

CFairMutex::~CFairMutex() {
    pthread_cond_destroy(&m_Turn);
    pthread_mutex_destroy(&m_Mutex);
}

bool CFairMutex::WaitToLock(unsigned int /*timeoutMs*/) {
    // A thread that ended in the wait below would leave a ticket that nobody takes up.
    const CCancellationShield shield;
    pthread_mutex_lock(&m_Mutex);
    const std::uint64_t ticket = m_nNextTicket++;
    while (ticket != m_nNowServing) {
        pthread_cond_wait(&m_Turn, &m_Mutex);
    }
    pthread_mutex_unlock(&m_Mutex);
    return true;
}

void CFairMutex::Unlock() {
    pthread_mutex_lock(&m_Mutex);
    ++m_nNowServing;
    pthread_cond_broadcast(&m_Turn);
    pthread_mutex_unlock(&m_Mutex);
}
