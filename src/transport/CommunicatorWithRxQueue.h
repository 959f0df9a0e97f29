#pragma once

#include <string>

#include "os/OSMutex.h"
#include "transport/CppQueueWrapper.h"
#include "transport/SerialConnector.h"

// Collects what a connector receives in a queue. Operations that can fail return an error text,
// empty on success.
//
// The connector's reader thread adds the bytes and takes GetRxLock() for it. Hold that lock while
// you use the queue or bytes that it has handed out, and only briefly. Disconnect before this
// object or the connector, which stays the caller's, is destroyed.
class CCommunicatorWithRxQueue {
public:
    // queueSize: bytes; 0 means 4096. Bytes that find no room are dropped.
    explicit CCommunicatorWithRxQueue(int queueSize);
    CCommunicatorWithRxQueue(const CCommunicatorWithRxQueue&) = delete;
    CCommunicatorWithRxQueue& operator=(const CCommunicatorWithRxQueue&) = delete;

    // "NULL pConnector!", "pConnector is in connected state!" or "Already initialized!". A failure
    // of the connector's own Connect is not reported: the text is empty, and the object stays
    // without a connector. Ask the connector whether it is connected.
    std::string Connect(CSerialConnector* connector, CCommunicationParameters& params);

    // "m_pConnector is NULL!", "Not connected!" or the connector's text. The object keeps its
    // connector and cannot be given another. Not with GetRxLock() held: Disconnect waits for the
    // reader thread, which may be waiting for that lock.
    std::string Disconnect() HCILOAD_EXCLUDES(m_RxLock);

    CppQueueWrapper GetRxQueue() HCILOAD_REQUIRES(m_RxLock) { return CppQueueWrapper(m_RxQueue); }
    CSynchronizationMutex& GetRxLock() HCILOAD_RETURN_CAPABILITY(m_RxLock) { return m_RxLock; }

    // The receive callback; context is the communicator. Returns the number of bytes added.
    static unsigned int FuncCircQueueRxData(void* context, unsigned char* bytes, unsigned int n);

private:
    CSerialConnector* m_pConnector = nullptr;
    COSMutex m_RxLock;
    DATA_QUEUE m_RxQueue HCILOAD_GUARDED_BY(m_RxLock);
};
