#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <span>
#include <string>

#include "transport/SerialConnector.h"
#include "transport/SerialPort.h"

enum TransportStatus : int {
    TRANSPORT_STATUS_OK = 1,
    TRANSPORT_STATUS_RX_OVERFLOW = 2,  // also when the receive counts contradict each other
    TRANSPORT_STATUS_TX_OVERFLOW = 3,
};

// Bytes that may wait in a ring. The two limits differ by one and are kept as they stand.
inline constexpr unsigned int MAX_RECEIVE_QUEUE_SIZE = 65535;
inline constexpr unsigned int MAX_TRANSMIT_QUEUE_SIZE = 65536;

// The record of one connection: the port, the receive callback, and a ring of 64 KiB for each
// direction. A ring position is the running count modulo the ring's size.
//
// No lock. Each ring has one producer thread and one consumer thread: the reader thread calls
// TransferReceivedBytesFromUART, a writer thread TransferBytesToBeSentToUART, and the caller's
// thread the rest. Each count is raised by one of them and published with its bytes.
//
// The first overflow is final: the status never changes again, no bytes are moved any more, and
// every operation returns that status. Only a new connection, with a new record, helps.
class CUARTTransportData {
public:
    CUARTTransportData() = default;
    CUARTTransportData(const CUARTTransportData&) = delete;
    CUARTTransportData& operator=(const CUARTTransportData&) = delete;
    virtual ~CUARTTransportData() = default;

    // Reader thread. Takes all n bytes, or none when they do not fit.
    TransportStatus TransferReceivedBytesFromUART(const unsigned char* bytes, unsigned int n);

    // Caller. *got is what was there, at most max, or all ones on failure. Never waits.
    TransportStatus ReadReceivedBytes(unsigned char* buf, unsigned int max, unsigned int* got);

    // Caller. Takes all n bytes, or none when they do not fit.
    TransportStatus WriteBytesForTransmission(const unsigned char* bytes, unsigned int n);

    // Writer thread. *got is what was there, at most max.
    TransportStatus TransferBytesToBeSentToUART(unsigned char* buf, unsigned int max,
                                                unsigned int* got);

    TransportStatus GetStatus() const { return m_nStatus; }

    // The text of the last refused WriteBytesForTransmission; the caller's thread only.
    const std::string& GetStatusText() const { return m_strStatusText; }

    std::uint64_t CountBytesReceivedFromUART() const { return m_nNumBytesReceivedFromUART; }
    std::uint64_t CountReadReceivedBytes() const { return m_nNumReceivedBytesRead; }
    std::uint64_t CountBytesNotYetRead() const;
    std::uint64_t CountWrittenBytes() const { return m_nNumBytesWritten; }
    std::uint64_t CountBytesTransmittedToUART() const { return m_nNumBytesSentToUART; }
    std::uint64_t CountBytesNotYetTransmitted() const;

    // Does nothing; the place where traces of the worker threads would go.
    void OutputDebugString(const char* text);

    CSerialPort& Port() { return m_Port; }

    // Before the reader thread starts; callback may be null.
    void SetReceiveCallback(RxCallback callback, void* context);
    void SetObserver(CLineObserver* observer) { m_pObserver = observer; }
    CLineObserver* GetObserver() const { return m_pObserver; }

    // Reader thread. Passes bytes on to the callback, if there is one.
    void CallReceiveCallback(unsigned char* bytes, unsigned int n);

private:
    static constexpr std::size_t RING_SIZE = 65536;
    using Ring = std::array<unsigned char, RING_SIZE>;

    static void CopyIntoRing(Ring& ring, std::uint64_t count, std::span<const unsigned char> bytes);
    static void CopyFromRing(const Ring& ring, std::uint64_t count, std::span<unsigned char> bytes);

    // Sets the status unless an earlier failure is already there. Returns what it is then.
    TransportStatus Fail(TransportStatus status);

    CSerialPort m_Port;
    RxCallback m_pReceiveCallback = nullptr;
    void* m_pCallbackContext = nullptr;
    CLineObserver* m_pObserver = nullptr;
    std::atomic<TransportStatus> m_nStatus{TRANSPORT_STATUS_OK};
    std::string m_strStatusText;
    std::atomic<std::uint64_t> m_nNumBytesReceivedFromUART{0};
    std::atomic<std::uint64_t> m_nNumReceivedBytesRead{0};
    std::atomic<std::uint64_t> m_nNumBytesWritten{0};
    std::atomic<std::uint64_t> m_nNumBytesSentToUART{0};
    Ring m_ReceiveRing{};
    Ring m_TransmitRing{};
};
