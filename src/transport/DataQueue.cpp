#include "transport/DataQueue.h"

#include <new>

#include "transport/RingCopy.h"
#include "util/Wrap32.h"

namespace {

constexpr unsigned int DEFAULT_CAPACITY = 4096;

std::unique_ptr<unsigned char[]> Allocate(unsigned int size) {
    return std::unique_ptr<unsigned char[]>(new (std::nothrow) unsigned char[size]);
}

std::span<unsigned char> RingOf(const DATA_QUEUE& queue) {
    return {queue.ring.get(), queue.capacity};
}

unsigned int Advanced(const DATA_QUEUE& queue, unsigned int position, unsigned int n) {
    const unsigned int toEnd = queue.capacity - position;
    return n <= toEnd ? position + n : n - toEnd;
}

unsigned int RunLength(const DATA_QUEUE& queue, unsigned int wanted) {
    const unsigned int held = DataQueueCountBytesRemainingToRead(&queue);
    return wanted == 0 ? held : std::min(wanted, held);
}

unsigned int RemoveRun(DATA_QUEUE& queue, unsigned int length) {
    queue.readPosition = Advanced(queue, queue.readPosition, length);
    queue.totalBytesRead = WrappingAdd(queue.totalBytesRead, length);
    return length;
}

}  // namespace

DATA_QUEUE::DATA_QUEUE(unsigned int capacityWanted, unsigned int linearSizeWanted) {
    DataQueueInit(this, capacityWanted, linearSizeWanted);
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
    return 0;
}

void DataQueueRelease(DATA_QUEUE* queue) {
    *queue = DATA_QUEUE();
}

unsigned int DataQueueAddBytes(DATA_QUEUE* queue, unsigned int n, const unsigned char* bytes) {
    const unsigned int room = queue->capacity - DataQueueCountBytesRemainingToRead(queue);
    const unsigned int added = bytes == nullptr ? 0 : std::min(n, room);
    CopyIntoRing(RingOf(*queue), queue->writePosition, {bytes, added});
    queue->writePosition = Advanced(*queue, queue->writePosition, added);
    queue->totalBytesStored = WrappingAdd(queue->totalBytesStored, added);
    return added;
}

unsigned int DataQueuePeekNextBytes(DATA_QUEUE* queue, unsigned int n, unsigned char** out) {
    const unsigned int length = RunLength(*queue, n);
    *out = nullptr;
    if (length == 0) {
        return 0;
    }
    if (length <= queue->capacity - queue->readPosition) {
        *out = queue->ring.get() + queue->readPosition;
        return length;
    }
    if (length > queue->linearAreaSize) {
        return 0;
    }
    *out = queue->linearArea.get();
    CopyFromRing(RingOf(*queue), queue->readPosition, {*out, length});
    return length;
}

unsigned int DataQueueReadNextBytes(DATA_QUEUE* queue, unsigned int n, unsigned char** out) {
    return RemoveRun(*queue, DataQueuePeekNextBytes(queue, n, out));
}

unsigned int DataQueueSkipNextBytes(DATA_QUEUE* queue, unsigned int n) {
    return RemoveRun(*queue, RunLength(*queue, n));
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
