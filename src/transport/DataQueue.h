#pragma once

#include <memory>

// A circular queue of bytes that hands out runs of bytes as one piece, also where they wrap around
// the end of the ring. Lengths are in bytes.
//
// No lock: whoever adds and whoever reads must take turns.
struct DATA_QUEUE {
    // As DataQueueInit; a queue whose memory could not be had has room for nothing.
    DATA_QUEUE(unsigned int capacity, unsigned int linearSize);
    DATA_QUEUE(const DATA_QUEUE&) = delete;
    DATA_QUEUE& operator=(const DATA_QUEUE&) = delete;
    ~DATA_QUEUE();

    unsigned int capacity = 0;
    unsigned int linearAreaSize = 0;
    std::unique_ptr<unsigned char[]> ring;
    unsigned int totalBytesStored = 0;  // running counts; their difference is what is held
    unsigned int totalBytesRead = 0;
    unsigned char* writePosition = nullptr;  // may stand one past the last byte, as may the next
    unsigned char* readPosition = nullptr;
    unsigned char* firstByte = nullptr;
    unsigned char* lastByte = nullptr;
    std::unique_ptr<unsigned char[]> linearArea;  // where wrapped runs are put together
};

// Makes the queue anew and empty. Capacity 0 means 4096; linear size 0 means a quarter of the
// capacity, and one larger than the capacity, or still 0, the whole. 0, or -1 without memory.
int DataQueueInit(DATA_QUEUE* queue, unsigned int capacity, unsigned int linearSize);

// Frees both blocks; the queue has room for nothing until DataQueueInit.
void DataQueueRelease(DATA_QUEUE* queue);

// Adds as many of the n bytes as fit and returns their number; the rest is dropped silently.
unsigned int DataQueueAddBytes(DATA_QUEUE* queue, unsigned int n, const unsigned char* bytes);

// The next n bytes in one piece; n of 0, or more than is held, means all. Returns their number and
// points *out at them: memory of the queue, valid until the next add or read. 0 and a null *out
// when nothing is held, or when the run goes past the end of the ring and is longer than the linear
// area. Peek leaves the bytes in the queue, Read takes them (none when it returns 0).
unsigned int DataQueuePeekNextBytes(DATA_QUEUE* queue, unsigned int n, unsigned char** out);
unsigned int DataQueueReadNextBytes(DATA_QUEUE* queue, unsigned int n, unsigned char** out);

// Discards n bytes, all for 0 or more than is held. Returns their number.
unsigned int DataQueueSkipNextBytes(DATA_QUEUE* queue, unsigned int n);

// The two totals run since initialisation, modulo 2^32.
unsigned int DataQueueCountTotalBytesStored(const DATA_QUEUE* queue);
unsigned int DataQueueCountTotalBytesRead(const DATA_QUEUE* queue);
unsigned int DataQueueCountBytesRemainingToRead(const DATA_QUEUE* queue);
