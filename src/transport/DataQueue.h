#pragma once

#include <memory>

// A circular queue of bytes that hands out runs of bytes in one piece, even where they wrap around
// the end of the ring.
//
// No lock: the users must serialise adding and reading.
struct DATA_QUEUE {
    // Has room for nothing until DataQueueInit.
    DATA_QUEUE() = default;

    // As DataQueueInit; without memory it has room for nothing.
    DATA_QUEUE(unsigned int capacity, unsigned int linearSize);

    unsigned int capacity = 0;
    unsigned int linearAreaSize = 0;
    std::unique_ptr<unsigned char[]> ring;
    unsigned int totalBytesStored = 0;  // running counts; their difference is held
    unsigned int totalBytesRead = 0;
    unsigned int writePosition = 0;  // 0 to capacity: stays there when it reaches the end
    unsigned int readPosition = 0;
    std::unique_ptr<unsigned char[]> linearArea;  // where wrapped runs are put together
};

// Makes an empty queue. Capacity 0 means 4096 bytes. Linear size 0 means a quarter of the capacity;
// if it is still 0, or larger than the capacity, all of it. Returns 0, or -1 without memory.
int DataQueueInit(DATA_QUEUE* queue, unsigned int capacity, unsigned int linearSize);

// Frees the memory; the queue has room for nothing until DataQueueInit.
void DataQueueRelease(DATA_QUEUE* queue);

// Adds as many of the n bytes as fit and returns their number; the others are dropped.
unsigned int DataQueueAddBytes(DATA_QUEUE* queue, unsigned int n, const unsigned char* bytes);

// Points *out to the next n bytes (all if n is 0 or more than are held) and returns their number.
// The memory is the queue's, valid until the next add or read. Returns 0, with *out null, if
// nothing is held or if the run wraps and is longer than the linear area. Read also removes the
// bytes.
unsigned int DataQueuePeekNextBytes(DATA_QUEUE* queue, unsigned int n, unsigned char** out);
unsigned int DataQueueReadNextBytes(DATA_QUEUE* queue, unsigned int n, unsigned char** out);

// Removes n bytes (all if n is 0 or more than are held) and returns their number.
unsigned int DataQueueSkipNextBytes(DATA_QUEUE* queue, unsigned int n);

// Since DataQueueInit, modulo 2^32.
unsigned int DataQueueCountTotalBytesStored(const DATA_QUEUE* queue);
unsigned int DataQueueCountTotalBytesRead(const DATA_QUEUE* queue);
unsigned int DataQueueCountBytesRemainingToRead(const DATA_QUEUE* queue);
