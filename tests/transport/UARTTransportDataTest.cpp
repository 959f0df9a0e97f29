#include "transport/UARTTransportData.h"

#include <gtest/gtest.h>

#include <memory>
#include <numeric>
#include <thread>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

Bytes Pattern(std::size_t count, std::size_t start = 0) {
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<unsigned char>((start + i) * 7 + (start + i) / 256);
    }
    return bytes;
}

unsigned int Size(const Bytes& bytes) {
    return static_cast<unsigned int>(bytes.size());
}

class UARTTransportData : public testing::Test {
protected:
    TransportStatus Arrive(const Bytes& bytes) {
        return m_pRecord->TransferReceivedBytesFromUART(bytes.data(), Size(bytes));
    }
    TransportStatus Queue(const Bytes& bytes) {
        return m_pRecord->WriteBytesForTransmission(bytes.data(), Size(bytes));
    }
    Bytes Read(unsigned int max) {
        Bytes bytes(max);
        unsigned int got = 0;
        EXPECT_EQ(m_pRecord->ReadReceivedBytes(bytes.data(), max, &got), TRANSPORT_STATUS_OK);
        EXPECT_LE(got, max);
        bytes.resize(got);
        return bytes;
    }
    Bytes TakeForSending(unsigned int max) {
        Bytes bytes(max);
        unsigned int got = 0;
        EXPECT_EQ(m_pRecord->TransferBytesToBeSentToUART(bytes.data(), max, &got),
                  TRANSPORT_STATUS_OK);
        bytes.resize(got);
        return bytes;
    }

    std::unique_ptr<CUARTTransportData> m_pRecord = std::make_unique<CUARTTransportData>();
};

TEST_F(UARTTransportData, ReceivesAcrossTheEndOfTheRing) {
    EXPECT_EQ(Read(10), Bytes());
    EXPECT_EQ(Arrive(Pattern(65530)), TRANSPORT_STATUS_OK);
    EXPECT_EQ(Read(0), Bytes());
    EXPECT_EQ(Read(65000), Pattern(65000));
    EXPECT_EQ(m_pRecord->CountBytesNotYetRead(), 530U);
    EXPECT_EQ(Arrive(Pattern(20, 65530)), TRANSPORT_STATUS_OK);
    EXPECT_EQ(Read(1000), Pattern(550, 65000)) << "in one call";
    EXPECT_EQ(m_pRecord->CountBytesReceivedFromUART(), 65550U);
    EXPECT_EQ(m_pRecord->CountReadReceivedBytes(), 65550U);
}

TEST_F(UARTTransportData, ReceiveOverflowIsOneByteShortOfTheRingAndFinal) {
    EXPECT_EQ(Arrive(Pattern(65535)), TRANSPORT_STATUS_OK);
    EXPECT_EQ(m_pRecord->GetStatus(), TRANSPORT_STATUS_OK);
    EXPECT_EQ(Arrive(Bytes{1}), TRANSPORT_STATUS_RX_OVERFLOW);

    unsigned char byte = 0x55;
    unsigned int got = 0;
    EXPECT_EQ(m_pRecord->ReadReceivedBytes(&byte, 1, &got), TRANSPORT_STATUS_RX_OVERFLOW);
    EXPECT_EQ(got, 0xFFFFFFFFU);
    EXPECT_EQ(byte, 0x55);
    EXPECT_EQ(Arrive(Bytes{}), TRANSPORT_STATUS_RX_OVERFLOW);
    EXPECT_EQ(Queue(Bytes{1}), TRANSPORT_STATUS_RX_OVERFLOW) << "the first failure stays";
    EXPECT_EQ(m_pRecord->TransferBytesToBeSentToUART(&byte, 1, &got), TRANSPORT_STATUS_RX_OVERFLOW);
    EXPECT_EQ(got, 0U);
    EXPECT_EQ(m_pRecord->CountBytesNotYetRead(), 65535U);
    EXPECT_EQ(m_pRecord->CountWrittenBytes(), 0U);
}

TEST_F(UARTTransportData, TransmitsAcrossTheEndOfTheRing) {
    EXPECT_EQ(TakeForSending(10), Bytes());
    EXPECT_EQ(Queue(Pattern(65536)), TRANSPORT_STATUS_OK);
    EXPECT_EQ(TakeForSending(40000), Pattern(40000));
    EXPECT_EQ(Queue(Pattern(40000, 65536)), TRANSPORT_STATUS_OK);
    EXPECT_EQ(m_pRecord->CountBytesNotYetTransmitted(), 65536U);
    EXPECT_EQ(TakeForSending(70000), Pattern(65536, 40000));
    EXPECT_EQ(m_pRecord->CountWrittenBytes(), 105536U);
    EXPECT_EQ(m_pRecord->CountBytesTransmittedToUART(), 105536U);
}

TEST_F(UARTTransportData, TransmitOverflowTellsTheNumbers) {
    EXPECT_EQ(m_pRecord->GetStatusText(), "");
    EXPECT_EQ(Queue(Pattern(100)), TRANSPORT_STATUS_OK);
    EXPECT_EQ(TakeForSending(100), Pattern(100));
    EXPECT_EQ(Queue(Pattern(65536)), TRANSPORT_STATUS_OK);
    EXPECT_EQ(Queue(Bytes{1}), TRANSPORT_STATUS_TX_OVERFLOW);
    EXPECT_EQ(m_pRecord->GetStatusText(),
              "CTransportData::WriteBytesForTransmission TransportStatusTransmitOverflow: "
              "m_nNumBytesWritten + nNumBytes - m_nNumBytesSentToUART=65636+1-100=65537 > "
              "MAX_TRANSMIT_QUEUE_SIZE");

    unsigned char byte = 0;
    unsigned int got = 0;
    EXPECT_EQ(m_pRecord->ReadReceivedBytes(&byte, 1, &got), TRANSPORT_STATUS_TX_OVERFLOW);
    EXPECT_EQ(got, 0xFFFFFFFFU);
    EXPECT_EQ(Arrive(Bytes{1}), TRANSPORT_STATUS_TX_OVERFLOW);
    EXPECT_EQ(m_pRecord->TransferBytesToBeSentToUART(&byte, 1, &got), TRANSPORT_STATUS_TX_OVERFLOW);
    EXPECT_EQ(got, 0U);
}

TEST_F(UARTTransportData, HandsBytesFromThreadToThread) {
    constexpr std::size_t total = 500000;
    std::thread reader([&] {
        for (std::size_t sent = 0; sent < total;) {
            const std::size_t piece = std::min<std::size_t>(255, total - sent);
            while (m_pRecord->CountBytesNotYetRead() > 65535 - 255) {
                std::this_thread::yield();
            }
            ASSERT_EQ(Arrive(Pattern(piece, sent)), TRANSPORT_STATUS_OK);
            sent += piece;
        }
    });
    Bytes all;
    while (all.size() < total) {
        const Bytes piece = Read(1000);
        all.insert(all.end(), piece.begin(), piece.end());
    }
    reader.join();
    EXPECT_EQ(all, Pattern(total));
}

}  // namespace
