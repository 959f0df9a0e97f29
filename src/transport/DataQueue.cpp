#include "transport/DataQueue.h"

#include <algorithm>
#include <new>

#include "util/Wrap32.h"

namespace {

constexpr unsigned int DEFAULT_CAPACITY = 4096;

std::unique_ptr<unsigned char[]> Allocate(unsigned int size) {
    return std::unique_ptr<unsigned char[]>(new (std::nothrow) unsigned char[size]);
}

// The bytes from position to the end of the ring; 0 for a position that has reached it. The first
// piece of a run is never longer, and the second one continues at the ring's first byte.
unsigned int BytesToEnd(const DATA_QUEUE& queue, const unsigned char* position) {
    return static_cast<unsigned int>(queue.firstByte + queue.capacity - position);
}

unsigned char* Advance(const DATA_QUEUE& queue, unsigned char* position, unsigned int n) {
    const unsigned int toEnd = BytesToEnd(queue, position);
    return n <= toEnd ? position + n : queue.firstByte + (n - toEnd);
}

// What a wish for n bytes comes to.
unsigned int RunLength(const DATA_QUEUE& queue, unsigned int n) {
    const unsigned int held = DataQueueCountBytesRemainingToRead(&queue);
    return n == 0 ? held : std::min(n, held);
}

void TakeRun(DATA_QUEUE& queue, unsigned int n) {
    queue.readPosition = Advance(queue, queue.readPosition, n);
    queue.totalBytesRead = WrappingAdd(queue.totalBytesRead, n);
}

}  // namespace

DATA_QUEUE::DATA_QUEUE(unsigned int capacityWanted, unsigned int linearSizeWanted) {
    DataQueueInit(this, capacityWanted, linearSizeWanted);
}

DATA_QUEUE::~DATA_QUEUE() {
    DataQueueRelease(this);
}

int DataQueueInit(DATA_QUEUE* queue, unsigned int capacity, unsigned int linearSize) {
    DataQueueRelease(queue);
    if (capacity == 0) {
        capacity = DEFAULT_CAPACITY;
    }
    if (linearSize == 0) {
        linearSize = capacity / 4;
    }
    if (linearSize == 0 || linearSize > capacity) {
        linearSize = capacity;
    }
    queue->ring = Allocate(capacity);
    queue->linearArea = Allocate(linearSize);
    if (queue->ring == nullptr || queue->linearArea == nullptr) {
        return -1;
    }
    queue->capacity = capacity;
    queue->linearAreaSize = linearSize;
    queue->firstByte = queue->ring.get();
    queue->lastByte = queue->firstByte + (capacity - 1);
    queue->writePosition = queue->firstByte;
    queue->readPosition = queue->firstByte;
    return 0;
}

void DataQueueRelease(DATA_QUEUE* queue) {
    queue->ring.reset();
    queue->linearArea.reset();
    queue->capacity = 0;
    queue->linearAreaSize = 0;
    queue->totalBytesStored = 0;
    queue->totalBytesRead = 0;
    queue->firstByte = nullptr;
    queue->lastByte = nullptr;
    queue->writePosition = nullptr;
    queue->readPosition = nullptr;
}

unsigned int DataQueueAddBytes(DATA_QUEUE* queue, unsigned int n, const unsigned char* bytes) {
    const unsigned int room = queue->capacity - DataQueueCountBytesRemainingToRead(queue);
    const unsigned int added = std::min(n, room);
    if (added == 0 || bytes == nullptr) {
        return 0;
    }
    const unsigned int first = std::min(added, BytesToEnd(*queue, queue->writePosition));
    std::copy_n(bytes, first, queue->writePosition);
    std::copy_n(bytes + first, added - first, queue->firstByte);
    queue->writePosition = Advance(*queue, queue->writePosition, added);
    queue->totalBytesStored = WrappingAdd(queue->totalBytesStored, added);
    return added;
}

unsigned int DataQueuePeekNextBytes(DATA_QUEUE* queue, unsigned int n, unsigned char** out) {
    *out = nullptr;
    const unsigned int length = RunLength(*queue, n);
    if (length == 0) {
        return 0;
    }
    const unsigned int first = BytesToEnd(*queue, queue->readPosition);
    if (length <= first) {
        *out = queue->readPosition;
        return length;
    }
    if (length > queue->linearAreaSize) {
        return 0;
    }
    std::copy_n(queue->readPosition, first, queue->linearArea.get());
    std::copy_n(queue->firstByte, length - first, queue->linearArea.get() + first);
    *out = queue->linearArea.get();
    return length;
}

unsigned int DataQueueReadNextBytes(DATA_QUEUE* queue, unsigned int n, unsigned char** out) {
    const unsigned int length = DataQueuePeekNextBytes(queue, n, out);
    TakeRun(*queue, length);
    return length;
}

unsigned int DataQueueSkipNextBytes(DATA_QUEUE* queue, unsigned int n) {
    const unsigned int length = RunLength(*queue, n);
    TakeRun(*queue, length);
    return length;
}

unsigned int DataQueueCountTotalBytesStored(const DATA_QUEUE* queue) {
    return queue->totalBytesStored;
}

unsigned int DataQueueCountTotalBytesRead(const DATA_QUEUE* queue) {
    return queue->totalBytesRead;
}

unsigned int DataQueueCountBytesRemainingToRead(const DATA_QUEUE* queue) {
    return WrappingSubtract(queue->totalBytesStored, queue->totalBytesRead);
}
