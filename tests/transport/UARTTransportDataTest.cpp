#include "transport/UARTTransportData.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

class UARTTransportData : public testing::Test {
protected:
    std::vector<unsigned char> m_Bytes = std::vector<unsigned char>(65536);
    unsigned int m_nGot = 0;
    CUARTTransportData m_Record;
};

TEST_F(UARTTransportData, ReceiveOverflowIsOneByteShortOfTheRingAndFinal) {
    EXPECT_EQ(m_Record.TransferReceivedBytesFromUART(m_Bytes.data(), 65535), TRANSPORT_STATUS_OK);
    EXPECT_EQ(m_Record.ReadReceivedBytes(m_Bytes.data(), 100, &m_nGot), TRANSPORT_STATUS_OK);
    EXPECT_EQ(m_Record.TransferReceivedBytesFromUART(m_Bytes.data(), 100), TRANSPORT_STATUS_OK);
    const auto overflow = TRANSPORT_STATUS_RX_OVERFLOW;
    EXPECT_EQ(m_Record.TransferReceivedBytesFromUART(m_Bytes.data(), 1), overflow);
    EXPECT_EQ(m_Record.ReadReceivedBytes(m_Bytes.data(), 1, &m_nGot), overflow);
    EXPECT_EQ(m_nGot, 0xFFFFFFFFU);
    EXPECT_EQ(m_Record.TransferReceivedBytesFromUART(m_Bytes.data(), 0), overflow);
    EXPECT_EQ(m_Record.WriteBytesForTransmission(m_Bytes.data(), 1), overflow);
    EXPECT_EQ(m_Record.TransferBytesToBeSentToUART(m_Bytes.data(), 1, &m_nGot), overflow);
    EXPECT_EQ(m_nGot, 0U);
    EXPECT_EQ(m_Record.CountBytesReceivedFromUART(), 65635U);
    EXPECT_EQ(m_Record.CountReadReceivedBytes(), 100U);
    EXPECT_EQ(m_Record.CountBytesNotYetRead(), 65535U);
}

TEST_F(UARTTransportData, TransmitOverflowTellsTheNumbers) {
    EXPECT_EQ(m_Record.WriteBytesForTransmission(m_Bytes.data(), 65536), TRANSPORT_STATUS_OK);
    EXPECT_EQ(m_Record.TransferBytesToBeSentToUART(m_Bytes.data(), 100, &m_nGot),
              TRANSPORT_STATUS_OK);
    EXPECT_EQ(m_nGot, 100U);
    EXPECT_EQ(m_Record.WriteBytesForTransmission(m_Bytes.data(), 100), TRANSPORT_STATUS_OK);
    EXPECT_EQ(m_Record.GetStatusText(), "");
    const auto overflow = TRANSPORT_STATUS_TX_OVERFLOW;
    EXPECT_EQ(m_Record.WriteBytesForTransmission(m_Bytes.data(), 1), overflow);
    EXPECT_EQ(m_Record.GetStatusText(),
              "CTransportData::WriteBytesForTransmission TransportStatusTransmitOverflow: "
              "m_nNumBytesWritten + nNumBytes - m_nNumBytesSentToUART=65636+1-100=65537 > "
              "MAX_TRANSMIT_QUEUE_SIZE");
    EXPECT_EQ(m_Record.TransferBytesToBeSentToUART(m_Bytes.data(), 1, &m_nGot), overflow);
    EXPECT_EQ(m_nGot, 0U);
    EXPECT_EQ(m_Record.TransferReceivedBytesFromUART(m_Bytes.data(), 1), overflow)
        << "the first failure stays";
    EXPECT_EQ(m_Record.CountWrittenBytes(), 65636U);
    EXPECT_EQ(m_Record.CountBytesTransmittedToUART(), 100U);
    EXPECT_EQ(m_Record.CountBytesNotYetTransmitted(), 65536U);
}

}  // namespace
