#include "transport/CommunicatorWithRxQueue.h"

#include <gtest/gtest.h>

#include <vector>

#include "os/LockGuard.h"
#include "os/OSTime.h"
#include "support/FakeChip.h"
#include "support/TestTerminal.h"
#include "transport/UARTConnector.h"

namespace {

// Takes whatever the communicator holds at this moment.
Bytes TakeAll(CCommunicatorWithRxQueue& communicator) {
    const CLockGuard held(communicator.GetRxLock());
    unsigned char* bytes = nullptr;
    const unsigned int count =
        DataQueueReadNextBytes(communicator.GetRxQueue().GetQueue(), 0, &bytes);
    return Bytes(bytes, bytes + count);
}

TEST(CommunicatorWithRxQueue, RefusesWithItsReason) {
    CCommunicatorWithRxQueue communicator(100);
    CCommunicationParameters params;
    CFakeChip connected;
    CFakeChip connector("");
    CFakeChip another("");
    EXPECT_EQ(communicator.Disconnect(), "m_pConnector is NULL!");
    EXPECT_EQ(communicator.Connect(nullptr, params), "NULL pConnector!");
    EXPECT_EQ(communicator.Connect(&connected, params), "pConnector is in connected state!");

    connector.m_strConnectError = "failed to open port: x";
    EXPECT_EQ(communicator.Connect(&connector, params), "") << "not passed on";
    EXPECT_EQ(communicator.Disconnect(), "m_pConnector is NULL!");
    connector.m_strConnectError = "";
    EXPECT_EQ(communicator.Connect(&connector, params), "");
    EXPECT_TRUE(connector.IsConnected());
    EXPECT_EQ(communicator.Connect(&connector, params), "pConnector is in connected state!");
    EXPECT_EQ(communicator.Connect(&another, params), "Already initialized!");
    EXPECT_EQ(communicator.Disconnect(), "");
    EXPECT_EQ(communicator.Disconnect(), "Not connected!");
    EXPECT_EQ(communicator.Connect(&connector, params), "Already initialized!");
}

TEST(CommunicatorWithRxQueue, DropsWhatFindsNoRoom) {
    CCommunicatorWithRxQueue communicator(10);
    CCommunicationParameters params;
    CFakeChip connector("");
    ASSERT_EQ(communicator.Connect(&connector, params), "");
    connector.Receive({1, 2, 3, 4, 5, 6, 7, 8});
    unsigned char more[] = {9, 10, 11};
    EXPECT_EQ(CCommunicatorWithRxQueue::FuncCircQueueRxData(&communicator, more, 3), 2U);
    {
        const CLockGuard held(communicator.GetRxLock());
        EXPECT_EQ(communicator.GetRxQueue().AddBytes(3, more), 0U);
    }
    EXPECT_EQ(TakeAll(communicator), (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
}

TEST(CommunicatorWithRxQueue, CollectsFromALineWhileItIsRead) {
    CTestTerminal terminal;
    CCommunicatorWithRxQueue communicator(3000);
    CUARTConnector connector;
    CCommunicationParameters params;
    ASSERT_EQ(params.ParseCommParams(("PORT=" + terminal.Path() + "\n").c_str()), "");
    ASSERT_EQ(communicator.Connect(&connector, params), "");

    // Each burst fits the queue; together they go round it many times.
    for (int burst = 0; burst < 40; ++burst) {
        Bytes sent(1001 + static_cast<std::size_t>(burst) * 37);
        for (std::size_t i = 0; i < sent.size(); ++i) {
            sent[i] = static_cast<unsigned char>(i + static_cast<std::size_t>(burst));
        }
        ASSERT_TRUE(terminal.Send(sent));
        Bytes collected;
        for (int pause = 0; collected.size() < sent.size() && pause < 10000; ++pause) {
            const Bytes piece = TakeAll(communicator);
            collected.insert(collected.end(), piece.begin(), piece.end());
            PutThreadToSleep(1);
        }
        ASSERT_EQ(collected, sent);
    }
    EXPECT_EQ(communicator.Disconnect(), "");
    EXPECT_TRUE(terminal.IsAsAtTheStart());
}

}  // namespace
