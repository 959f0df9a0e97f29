#include "os/OSMutex.h"

bool COSMutex::WaitToLock(unsigned int /*timeoutMs*/) {
    pthread_mutex_lock(&m_Mutex);
    return true;
}

void COSMutex::Unlock() {
    pthread_mutex_unlock(&m_Mutex);
}
