#pragma once

#include <atomic>

#include "os/SynchronizationMutex.h"

// The locks of the UART connector that was connected last; null while there is none. The connector
// owns what they point to. pUARTWriteMutex belongs to a writer thread that is never started.
extern std::atomic<CSynchronizationMutex*> pUARTReadMutex;
extern std::atomic<CSynchronizationMutex*> pUARTWriteMutex;

// Unlocks pUARTReadMutex when it is set. Has the shape of a signal handler, and nothing installs
// it as one.
void SignalHandler(int signal);
