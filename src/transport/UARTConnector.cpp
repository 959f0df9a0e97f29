#include "transport/UARTConnector.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <new>

#include "os/OSExecutionThread.h"
#include "os/OSTime.h"

std::atomic<CSynchronizationMutex*> pUARTReadMutex{nullptr};
std::atomic<CSynchronizationMutex*> pUARTWriteMutex{nullptr};

// Unchecked: no caller in sight holds the lock.
HCILOAD_NO_THREAD_SAFETY_CHECK void SignalHandler(int /*signal*/) {
    CSynchronizationMutex* const mutex = pUARTReadMutex;
    if (mutex != nullptr) {
        mutex->Unlock();
    }
}

std::string CUARTConnector::Connect(CCommunicationParameters& params, RxCallback rxCallback,
                                    void* context) {
    if (IsConnected()) {
        return "Already connected!";
    }
    // Frees what the record of a failed connect still holds: the port and its lock.
    m_pTransport = std::make_unique<CUARTTransportData>();
    m_pArrival = &m_pTransport->Arrival();
    const std::string path = params.GetPortId();
    if (!m_pTransport->Port().Open(path)) {
        return "failed to open port: " + path;
    }
    m_pTransport->SetReceiveCallback(rxCallback, context);
    m_pTransport->SetObserver(GetObserver());
    if (!StartWorkerThreads()) {
        return "Failed to start worker threads";
    }
    m_pParameters = std::make_unique<CCommunicationParameters>(params);
    return {};
}

std::string CUARTConnector::Disconnect() {
    if (!IsConnected()) {
        return "Not connected!";
    }
    CloseWorkerThreads();
    m_pParameters.reset();
    return {};
}

// A failed write counts as -1: it takes the count back by one byte or, before the first byte, wraps
// it. So the loop ends on a dead line, and the missing answer tells the caller.
std::string CUARTConnector::TransmitBytes(unsigned char* bytes, unsigned int count) {
    if (bytes == nullptr || count == 0 || m_pTransport == nullptr) {
        return {};
    }
    CLineObserver* const observer = GetObserver();
    if (observer != nullptr) {
        observer->SentByHost({bytes, count});
    }
    unsigned int written = 0;
    while (written < count) {
        const ssize_t result = m_pTransport->Port().Write({bytes + written, count - written});
        if (result < 0 && observer != nullptr) {
            observer->Note(std::string("Writing to the port failed: ") + std::strerror(errno));
        }
        written += static_cast<unsigned int>(result);
    }
    return {};
}

std::string CUARTConnector::ReadReceivedBytes(unsigned char* buf, unsigned int maxBytes,
                                              unsigned int* gotBytes) {
    if (m_pTransport == nullptr) {
        *gotBytes = 0xFFFFFFFF;
        return "Not connected!";
    }
    switch (m_pTransport->ReadReceivedBytes(buf, maxBytes, gotBytes)) {
        case TRANSPORT_STATUS_OK:
            return {};
        case TRANSPORT_STATUS_RX_OVERFLOW:
            return "RxOverflow";
        default:
            return "RxUnknownError";
    }
}

bool CUARTConnector::StartWorkerThreads() {
    m_Reader.thread.reset(new (std::nothrow)
                              COSExecutionThread(UARTReadThread, m_pTransport.get()));
    m_Reader.lock.reset(new (std::nothrow) COSMutex);
    if (m_Reader.thread == nullptr || m_Reader.lock == nullptr) {
        return false;
    }
    pUARTReadMutex = m_Reader.lock.get();
    PutThreadToSleep(100);
    // Not checked: a missing reader looks like a chip that does not answer.
    m_Reader.thread->RunThread();
    return true;
}

void CUARTConnector::CloseWorkerThread(WORKER& worker,
                                       std::atomic<CSynchronizationMutex*>& publishedLock) {
    if (worker.thread == nullptr) {
        return;
    }
    m_pTransport->OutputDebugString("Closing writer thread");  // for the reader too
    worker.thread->TerminateThread();
    // The thread uses the record and its port until it has ended.
    worker.thread->WaitUntilDone();
    worker.thread.reset();
    // Another connector may have set its own lock meanwhile.
    CSynchronizationMutex* own = worker.lock.get();
    publishedLock.compare_exchange_strong(own, nullptr);
    worker.lock.reset();
}

void CUARTConnector::CloseWorkerThreads() {
    CloseWorkerThread(m_Reader, pUARTReadMutex);
    CloseWorkerThread(m_Writer, pUARTWriteMutex);
    m_pTransport->Port().Close();
}

void CUARTConnector::CleanUp() {
    CUARTConnector::Disconnect();
    m_pArrival = nullptr;
    m_pTransport.reset();
}

unsigned int UARTReadThread(CExecutionThread* thread) {
    auto* const transport = static_cast<CUARTTransportData*>(thread->GetContext());
    constexpr timespec pauseAfterBytes{0, 100000};
    // On a line that has hung up, no read waits.
    constexpr timespec pauseAfterNone{0, 50000000};
    std::array<unsigned char, 255> buffer{};
    for (;;) {
        // A failed read counts as nothing received; the caller's time limits notice.
        const ssize_t got = transport->Port().WaitAndRead(buffer);
        if (got > 0) {
            const auto count = static_cast<unsigned int>(got);
            // First, or the observer might hear of the caller's reaction before the bytes.
            if (CLineObserver* const observer = transport->GetObserver()) {
                observer->SentByChip({buffer.data(), count});
            }
            transport->TransferReceivedBytesFromUART(buffer.data(), count);
            transport->CallReceiveCallback(buffer.data(), count);
        }
        __nsleep(got > 0 ? &pauseAfterBytes : &pauseAfterNone, nullptr);
    }
}

unsigned int UARTWriteThread(CExecutionThread* thread) {
    auto* const transport = static_cast<CUARTTransportData*>(thread->GetContext());
    std::array<unsigned char, 4096> buffer{};
    for (;;) {
        unsigned int count = 0;
        if (transport->TransferBytesToBeSentToUART(buffer.data(), buffer.size(), &count) !=
            TRANSPORT_STATUS_OK) {
            PutThreadToSleep(0);  // no pause, but a place where the thread can end
        } else if (count == 0) {
            PutThreadToSleep(50);
        }
        for (unsigned int written = 0; written < count;) {
            const ssize_t result =
                transport->Port().Write({buffer.data() + written, count - written});
            if (result > 0) {
                written += static_cast<unsigned int>(result);
            } else {
                PutThreadToSleep(50);
            }
        }
    }
}
