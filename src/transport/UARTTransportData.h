#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "os/OSFlag.h"
#include "transport/ByteRing.h"
#include "transport/SerialConnector.h"
#include "transport/SerialPort.h"

enum TransportStatus : int {
    TRANSPORT_STATUS_OK = 1,
    TRANSPORT_STATUS_RX_OVERFLOW = 2,
    TRANSPORT_STATUS_TX_OVERFLOW = 3,
};

// Bytes that may wait in a ring. Callers rely on the two limits, which differ by one.
inline constexpr unsigned int MAX_RECEIVE_QUEUE_SIZE = CByteRing::SIZE - 1;
inline constexpr unsigned int MAX_TRANSMIT_QUEUE_SIZE = CByteRing::SIZE;

// The record of one connection: the port, the receive callback, and a ring for each direction.
//
// No lock. The reader thread calls TransferReceivedBytesFromUART, a writer thread
// TransferBytesToBeSentToUART, and the caller's thread everything else.
//
// The first overflow is final: the status never changes again, no more bytes are moved, and every
// operation returns that status. Only a new connection, with a new record, helps.
class CUARTTransportData {
public:
    CUARTTransportData() = default;
    CUARTTransportData(const CUARTTransportData&) = delete;
    CUARTTransportData& operator=(const CUARTTransportData&) = delete;
    virtual ~CUARTTransportData() = default;

    // Reader thread. Takes all n bytes, or none if they do not fit.
    TransportStatus TransferReceivedBytesFromUART(const unsigned char* bytes, unsigned int n);

    // Caller. *got: the number of bytes copied, at most max; all ones on failure. Never waits.
    TransportStatus ReadReceivedBytes(unsigned char* buf, unsigned int max, unsigned int* got);

    // Caller. Takes all n bytes, or none if they do not fit.
    TransportStatus WriteBytesForTransmission(const unsigned char* bytes, unsigned int n);

    // Writer thread. *got: the number of bytes copied, at most max.
    TransportStatus TransferBytesToBeSentToUART(unsigned char* buf, unsigned int max,
                                                unsigned int* got);

    TransportStatus GetStatus() const { return m_nStatus; }

    // Why the last WriteBytesForTransmission was refused; the caller's thread only.
    const std::string& GetStatusText() const { return m_strStatusText; }

    std::uint64_t CountBytesReceivedFromUART() const { return m_Received.CountPut(); }
    std::uint64_t CountReadReceivedBytes() const { return m_Received.CountTaken(); }
    std::uint64_t CountBytesNotYetRead() const { return m_Received.CountHeld(); }
    std::uint64_t CountWrittenBytes() const { return m_ToSend.CountPut(); }
    std::uint64_t CountBytesTransmittedToUART() const { return m_ToSend.CountTaken(); }
    std::uint64_t CountBytesNotYetTransmitted() const { return m_ToSend.CountHeld(); }

    // Does nothing; the place for traces of the worker threads.
    void OutputDebugString(const char* /*text*/) {}

    CSerialPort& Port() { return m_Port; }

    // Raised while received bytes, or an overflow, can be read.
    COSFlag& Arrival() { return m_Arrival; }

    // Before the reader thread starts; callback may be null.
    void SetReceiveCallback(RxCallback callback, void* context);
    void SetObserver(CLineObserver* observer) { m_pObserver = observer; }
    CLineObserver* GetObserver() const { return m_pObserver; }

    // Reader thread. Passes bytes to the callback, if there is one.
    void CallReceiveCallback(unsigned char* bytes, unsigned int n);

private:
    // Sets the status unless an earlier failure has set it. Returns the status.
    TransportStatus Fail(TransportStatus status);

    CSerialPort m_Port;
    RxCallback m_pReceiveCallback = nullptr;
    void* m_pCallbackContext = nullptr;
    CLineObserver* m_pObserver = nullptr;
    std::atomic<TransportStatus> m_nStatus{TRANSPORT_STATUS_OK};
    std::string m_strStatusText;
    COSFlag m_Arrival;
    CByteRing m_Received;
    CByteRing m_ToSend;
};
