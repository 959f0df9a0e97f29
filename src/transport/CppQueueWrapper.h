#pragma once

#include "transport/DataQueue.h"

// Refers to a queue, which must outlive it. Not synchronised, like the queue.
class CppQueueWrapper {
public:
    explicit CppQueueWrapper(DATA_QUEUE& queue) : m_Queue(queue) {}

    // As DataQueueAddBytes.
    unsigned int AddBytes(unsigned int count, unsigned char* bytes) {
        return DataQueueAddBytes(&m_Queue, count, bytes);
    }

    // For the reading functions of DataQueue.h.
    DATA_QUEUE* GetQueue() { return &m_Queue; }

private:
    DATA_QUEUE& m_Queue;
};
