#pragma once

#include <string>

#include "os/OSMutex.h"
#include "transport/CppQueueWrapper.h"
#include "transport/SerialConnector.h"

// Collects what a connector receives in a queue. Operations that can fail return an error text,
// empty on success.
//
// The bytes are added on the connector's reader thread. The queue has no lock of its own: hold
// GetRxLock() while the queue is used and as long as a piece of it is looked at, and only briefly,
// since the reader thread waits meanwhile. The connector is the caller's; Disconnect before one of
// the two objects goes.
class CCommunicatorWithRxQueue {
public:
    // queueSize: bytes; 0 means 4096. Bytes that find no room are dropped.
    explicit CCommunicatorWithRxQueue(int queueSize);
    CCommunicatorWithRxQueue(const CCommunicatorWithRxQueue&) = delete;
    CCommunicatorWithRxQueue& operator=(const CCommunicatorWithRxQueue&) = delete;

    // "NULL pConnector!", "pConnector is in connected state!" or "Already initialized!". A failure
    // of the connector's own Connect is not passed on: the text is empty, and the object stays
    // without a connector. Kept that way: ask the connector whether it is connected.
    std::string Connect(CSerialConnector* connector, CCommunicationParameters& params);

    // "m_pConnector is NULL!", "Not connected!" or the connector's text. The object keeps its
    // connector and cannot be given another.
    std::string Disconnect();

    CppQueueWrapper GetRxQueue() { return CppQueueWrapper(m_RxQueue); }
    CSynchronizationMutex& GetRxLock() { return m_RxLock; }

    // The receive callback; context is the communicator. Returns the number of bytes added.
    static unsigned int FuncCircQueueRxData(void* context, unsigned char* bytes, unsigned int n);

private:
    CSerialConnector* m_pConnector = nullptr;
    DATA_QUEUE m_RxQueue;
    COSMutex m_RxLock;
};
