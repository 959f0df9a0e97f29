#include "os/UARTLocks.h"

std::atomic<CSynchronizationMutex*> pUARTReadMutex{nullptr};
std::atomic<CSynchronizationMutex*> pUARTWriteMutex{nullptr};

void SignalHandler(int /*signal*/) {
    CSynchronizationMutex* const mutex = pUARTReadMutex;
    if (mutex != nullptr) {
        mutex->Unlock();
    }
}
