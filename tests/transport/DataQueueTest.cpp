#include "transport/DataQueue.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <string>

#include "transport/CppQueueWrapper.h"

namespace {

unsigned int Add(DATA_QUEUE& queue, std::string text) {
    return DataQueueAddBytes(&queue, static_cast<unsigned int>(text.size()),
                             reinterpret_cast<unsigned char*>(text.data()));
}

using TakeFunction = unsigned int (*)(DATA_QUEUE*, unsigned int, unsigned char**);

// The run that came out, "-" when none did.
std::string Take(TakeFunction function, DATA_QUEUE& queue, unsigned int n) {
    unsigned char* bytes = nullptr;
    const unsigned int count = function(&queue, n, &bytes);
    EXPECT_EQ(bytes == nullptr, count == 0);
    return count == 0 ? "-" : std::string(reinterpret_cast<char*>(bytes), count);
}

TEST(DataQueue, SizesHaveDefaultsAndBounds) {
    struct {
        unsigned int capacity, linear, expectedCapacity, expectedLinear;
    } const cases[] = {
        {0, 0, 4096, 1024},          {100, 0, 100, 25}, {100, 60, 100, 60},
        {100, 101, 100, 100},        {3, 0, 3, 3},      {0, 5000, 4096, 4096},
        {1000, 0x40000, 1000, 1000},
    };
    for (const auto& c : cases) {
        DATA_QUEUE queue(c.capacity, c.linear);
        EXPECT_EQ(queue.capacity, c.expectedCapacity);
        EXPECT_EQ(queue.linearAreaSize, c.expectedLinear);
        EXPECT_EQ(Add(queue, std::string(5000, 'x')), c.expectedCapacity);
    }
}

TEST(DataQueue, AddsWhatFits) {
    DATA_QUEUE queue(16, 0);
    EXPECT_EQ(Add(queue, "abcdef"), 6U);
    EXPECT_EQ(Add(queue, "0123456789ABCDEFGHIJKLMNO"), 10U) << "of 25";
    EXPECT_EQ(Add(queue, "z"), 0U);
    EXPECT_EQ(DataQueueAddBytes(&queue, 1, nullptr), 0U);
    EXPECT_EQ(Take(DataQueueReadNextBytes, queue, 0), "abcdef0123456789");
    EXPECT_EQ(Take(DataQueueReadNextBytes, queue, 0), "-");
}

TEST(DataQueue, HandsOutWrappedRunsUpToTheLinearArea) {
    DATA_QUEUE queue(10, 4);
    EXPECT_EQ(Add(queue, "01234567"), 8U);
    EXPECT_EQ(Take(DataQueueReadNextBytes, queue, 7), "0123456") << "no wrap, no limit";
    EXPECT_EQ(Add(queue, "89abcd"), 6U);
    EXPECT_EQ(Take(DataQueuePeekNextBytes, queue, 3), "789");
    EXPECT_EQ(Take(DataQueuePeekNextBytes, queue, 4), "789a");
    EXPECT_EQ(Take(DataQueuePeekNextBytes, queue, 5), "-") << "longer than the linear area";
    EXPECT_EQ(Take(DataQueueReadNextBytes, queue, 0), "-") << "refused as a whole";
    EXPECT_EQ(DataQueueCountBytesRemainingToRead(&queue), 7U);
    EXPECT_EQ(Take(DataQueueReadNextBytes, queue, 4), "789a");
    EXPECT_EQ(Take(DataQueueReadNextBytes, queue, 100), "bcd");
    EXPECT_EQ(DataQueueCountTotalBytesStored(&queue), 14U);
    EXPECT_EQ(DataQueueCountTotalBytesRead(&queue), 14U);
}

TEST(DataQueue, APositionAtTheEndIsAnEmptyFirstPiece) {
    DATA_QUEUE queue(10, 4);
    EXPECT_EQ(Add(queue, "0123456789"), 10U);
    EXPECT_EQ(DataQueueSkipNextBytes(&queue, 10), 10U);
    EXPECT_EQ(Add(queue, "abcde"), 5U);
    EXPECT_EQ(Take(DataQueueReadNextBytes, queue, 5), "-") << "goes past the end, if with nothing";
    EXPECT_EQ(Take(DataQueueReadNextBytes, queue, 4), "abcd");
    EXPECT_EQ(Take(DataQueueReadNextBytes, queue, 0), "e");
}

TEST(DataQueue, ReleasedQueueHoldsNothingUntilMadeAnew) {
    DATA_QUEUE queue(10, 0);
    EXPECT_EQ(Add(queue, "abc"), 3U);
    DataQueueRelease(&queue);
    EXPECT_EQ(queue.capacity, 0U);
    EXPECT_EQ(queue.linearAreaSize, 0U);
    EXPECT_EQ(DataQueueCountTotalBytesStored(&queue), 0U);
    EXPECT_EQ(Add(queue, "abc"), 0U);
    EXPECT_EQ(Take(DataQueueReadNextBytes, queue, 0), "-");
    EXPECT_EQ(DataQueueSkipNextBytes(&queue, 0), 0U);
    EXPECT_EQ(DataQueueInit(&queue, 5, 5), 0);
    EXPECT_EQ(Add(queue, "abc"), 3U);
    EXPECT_EQ(DataQueueInit(&queue, 5, 5), 0);
    EXPECT_EQ(Take(DataQueueReadNextBytes, queue, 0), "-");
}

// Against a plain list, with counts that wrap 32 bits on the way.
TEST(DataQueue, BehavesAsAListDoes) {
    std::mt19937 random(1);
    DATA_QUEUE queue(37, 37);
    queue.totalBytesStored = queue.totalBytesRead = 0xFFFFFF00U;
    std::deque<char> list;
    unsigned char next = 0;
    for (int i = 0; i < 5000; ++i) {
        const auto n = static_cast<unsigned int>(random() % 45);
        if (random() % 2 == 0) {
            std::string bytes(n, 0);
            for (char& byte : bytes) {
                byte = static_cast<char>(next);
                next = static_cast<unsigned char>(next + 1);
            }
            const unsigned int added =
                CppQueueWrapper(queue).AddBytes(n, reinterpret_cast<unsigned char*>(bytes.data()));
            ASSERT_EQ(added, std::min<std::size_t>(n, 37 - list.size()));
            list.insert(list.end(), bytes.begin(), bytes.begin() + added);
            continue;
        }
        const std::size_t length = n == 0 ? list.size() : std::min<std::size_t>(n, list.size());
        const std::string expected(list.begin(), list.begin() + static_cast<long>(length));
        if (random() % 2 == 0) {
            ASSERT_EQ(Take(DataQueuePeekNextBytes, queue, n), length == 0 ? "-" : expected);
            ASSERT_EQ(Take(DataQueueReadNextBytes, queue, n), length == 0 ? "-" : expected);
        } else {
            ASSERT_EQ(DataQueueSkipNextBytes(&queue, n), length);
        }
        list.erase(list.begin(), list.begin() + static_cast<long>(length));
        ASSERT_EQ(DataQueueCountBytesRemainingToRead(&queue), list.size());
    }
}

}  // namespace
