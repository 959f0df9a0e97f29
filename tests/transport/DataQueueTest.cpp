#include "transport/DataQueue.h"

#include <gtest/gtest.h>

#include <random>

#include "transport/CppQueueWrapper.h"

namespace {

unsigned int Add(DATA_QUEUE& queue, std::string text) {
    return CppQueueWrapper(queue).AddBytes(static_cast<unsigned int>(text.size()),
                                           reinterpret_cast<unsigned char*>(text.data()));
}

using TakeFunction = unsigned int (*)(DATA_QUEUE*, unsigned int, unsigned char**);

// The run that came out, "-" if none did.
std::string Take(TakeFunction function, DATA_QUEUE& queue, unsigned int n) {
    unsigned char* bytes = nullptr;
    const unsigned int count = function(&queue, n, &bytes);
    EXPECT_EQ(bytes == nullptr, count == 0);
    return count == 0 ? "-" : std::string(reinterpret_cast<char*>(bytes), count);
}

TEST(DataQueue, SizesHaveDefaultsAndBounds) {
    const unsigned int cases[][4] = {
        {0, 0, 4096, 1024}, {100, 60, 100, 60}, {100, 101, 100, 100}, {3, 0, 3, 3}};
    for (const auto& [capacity, linear, expectedCapacity, expectedLinear] : cases) {
        DATA_QUEUE queue(capacity, linear);
        EXPECT_EQ(queue.linearAreaSize, expectedLinear);
        EXPECT_EQ(Add(queue, std::string(5000, 'x')), expectedCapacity);
        DataQueueRelease(&queue);
        EXPECT_EQ(Add(queue, "abc"), 0U);
        EXPECT_EQ(Take(DataQueueReadNextBytes, queue, 0), "-");
        EXPECT_EQ(DataQueueInit(&queue, 5, 5), 0);
        EXPECT_EQ(DataQueueAddBytes(&queue, 1, nullptr), 0U);
        EXPECT_EQ(Add(queue, "abcdef"), 5U);
    }
}

TEST(DataQueue, HandsOutWrappedRunsUpToTheLinearArea) {
    DATA_QUEUE queue(10, 4);
    EXPECT_EQ(Add(queue, "01234567"), 8U);
    EXPECT_EQ(Take(DataQueueReadNextBytes, queue, 7), "0123456") << "no wrap, no limit";
    EXPECT_EQ(Add(queue, "89abcd"), 6U);
    EXPECT_EQ(Take(DataQueuePeekNextBytes, queue, 4), "789a");
    EXPECT_EQ(Take(DataQueuePeekNextBytes, queue, 5), "-") << "longer than the linear area";
    EXPECT_EQ(Take(DataQueueReadNextBytes, queue, 0), "-") << "refused as a whole";
    EXPECT_EQ(Take(DataQueueReadNextBytes, queue, 4), "789a");

    EXPECT_EQ(DataQueueInit(&queue, 10, 4), 0);
    EXPECT_EQ(Add(queue, "0123456789"), 10U);
    EXPECT_EQ(DataQueueSkipNextBytes(&queue, 10), 10U);
    EXPECT_EQ(Add(queue, "abcde"), 5U);
    EXPECT_EQ(Take(DataQueueReadNextBytes, queue, 5), "-") << "wraps before its first byte";
    EXPECT_EQ(Take(DataQueueReadNextBytes, queue, 4), "abcd");
}

// Against a text that is appended to and cut, while the counts wrap 32 bits.
TEST(DataQueue, BehavesLikeAList) {
    std::mt19937 random(1);
    DATA_QUEUE queue(37, 37);
    queue.totalBytesStored = queue.totalBytesRead = 0xFFFFFF00U;
    std::string list;
    for (int i = 0; i < 5000; ++i) {
        const auto n = static_cast<unsigned int>(random() % 45);
        if (random() % 2 == 0) {
            const std::string bytes(n, static_cast<char>(i));
            const unsigned int added = Add(queue, bytes);
            ASSERT_EQ(added, std::min<std::size_t>(n, 37 - list.size()));
            list += bytes.substr(0, added);
            continue;
        }
        const std::string expected = n == 0 ? list : list.substr(0, n);
        ASSERT_EQ(Take(DataQueuePeekNextBytes, queue, n), expected.empty() ? "-" : expected);
        if (random() % 2 == 0) {
            ASSERT_EQ(Take(DataQueueReadNextBytes, queue, n), expected.empty() ? "-" : expected);
        } else {
            ASSERT_EQ(DataQueueSkipNextBytes(&queue, n), expected.size());
        }
        list.erase(0, expected.size());
        ASSERT_EQ(DataQueueCountBytesRemainingToRead(&queue), list.size());
    }
}

}  // namespace
