#include "transport/CommunicatorWithRxQueue.h"

#include <gtest/gtest.h>

#include "os/LockGuard.h"
#include "support/FakeChip.h"

namespace {

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
    EXPECT_EQ(communicator.Connect(&connector, params), "") << "not reported";
    EXPECT_EQ(communicator.Disconnect(), "m_pConnector is NULL!");
    connector.m_strConnectError = "";
    EXPECT_EQ(communicator.Connect(&connector, params), "");
    EXPECT_TRUE(connector.IsConnected());
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

    const CLockGuard held(communicator.GetRxLock());
    EXPECT_EQ(communicator.GetRxQueue().AddBytes(3, more), 0U);
    unsigned char* all = nullptr;
    ASSERT_EQ(DataQueueReadNextBytes(communicator.GetRxQueue().GetQueue(), 0, &all), 10U);
    EXPECT_EQ(ToHex({all, all + 10}), "01 02 03 04 05 06 07 08 09 0A");
}

}  // namespace
