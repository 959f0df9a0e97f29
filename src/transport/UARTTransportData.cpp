#include "transport/UARTTransportData.h"

#include <algorithm>

#include "util/FormatText.h"

#if defined(HCILOAD_VALGRIND)
#include <valgrind/helgrind.h>
#endif

namespace {

// Helgrind does not know what orders memory in C++. A build that runs under it tells it here that
// what was written before a count was raised is there for whoever has seen that count.
void TellRaised([[maybe_unused]] const void* count) {
#if defined(HCILOAD_VALGRIND)
    ANNOTATE_HAPPENS_BEFORE(count);
#endif
}

void TellSeen([[maybe_unused]] const void* count) {
#if defined(HCILOAD_VALGRIND)
    ANNOTATE_HAPPENS_AFTER(count);
#endif
}

// A count read by the thread that alone raises it, and by the other one together with the bytes
// that it publishes.
std::uint64_t Own(const std::atomic<std::uint64_t>& count) {
    return count.load(std::memory_order_relaxed);
}

std::uint64_t Others(const std::atomic<std::uint64_t>& count) {
    const std::uint64_t value = count.load(std::memory_order_acquire);
    TellSeen(&count);
    return value;
}

void Publish(std::atomic<std::uint64_t>& count, std::uint64_t value) {
    TellRaised(&count);
    count.store(value, std::memory_order_release);
}

}  // namespace

TransportStatus CUARTTransportData::TransferReceivedBytesFromUART(const unsigned char* bytes,
                                                                  unsigned int n) {
    const std::uint64_t received = Own(m_nNumBytesReceivedFromUART);
    const std::uint64_t read = Others(m_nNumReceivedBytesRead);
    if (m_nStatus != TRANSPORT_STATUS_OK || received + n - read > MAX_RECEIVE_QUEUE_SIZE) {
        return Fail(TRANSPORT_STATUS_RX_OVERFLOW);
    }
    CopyIntoRing(m_ReceiveRing, received, {bytes, n});
    Publish(m_nNumBytesReceivedFromUART, received + n);
    return m_nStatus;
}

TransportStatus CUARTTransportData::ReadReceivedBytes(unsigned char* buf, unsigned int max,
                                                      unsigned int* got) {
    *got = 0xFFFFFFFF;
    if (m_nStatus != TRANSPORT_STATUS_OK) {
        return m_nStatus;
    }
    const std::uint64_t read = Own(m_nNumReceivedBytesRead);
    const std::uint64_t unread = Others(m_nNumBytesReceivedFromUART) - read;
    if (unread > RING_SIZE) {
        return Fail(TRANSPORT_STATUS_RX_OVERFLOW);
    }
    const auto count = static_cast<unsigned int>(std::min<std::uint64_t>(max, unread));
    CopyFromRing(m_ReceiveRing, read, {buf, count});
    Publish(m_nNumReceivedBytesRead, read + count);
    *got = count;
    // These bytes are whole whatever has happened since; the next call tells.
    return TRANSPORT_STATUS_OK;
}

TransportStatus CUARTTransportData::WriteBytesForTransmission(const unsigned char* bytes,
                                                              unsigned int n) {
    const std::uint64_t written = Own(m_nNumBytesWritten);
    const std::uint64_t sent = Others(m_nNumBytesSentToUART);
    const std::uint64_t held = written + n - sent;
    if (m_nStatus != TRANSPORT_STATUS_OK || held > MAX_TRANSMIT_QUEUE_SIZE) {
        m_strStatusText = FormatText(
            "CTransportData::WriteBytesForTransmission TransportStatusTransmitOverflow: "
            "m_nNumBytesWritten + nNumBytes - m_nNumBytesSentToUART=%d+%d-%d=%d > "
            "MAX_TRANSMIT_QUEUE_SIZE",
            static_cast<std::int32_t>(written), static_cast<std::int32_t>(n),
            static_cast<std::int32_t>(sent), static_cast<std::int32_t>(held));
        return Fail(TRANSPORT_STATUS_TX_OVERFLOW);
    }
    CopyIntoRing(m_TransmitRing, written, {bytes, n});
    Publish(m_nNumBytesWritten, written + n);
    return m_nStatus;
}

TransportStatus CUARTTransportData::TransferBytesToBeSentToUART(unsigned char* buf,
                                                                unsigned int max,
                                                                unsigned int* got) {
    *got = 0;
    const std::uint64_t sent = Own(m_nNumBytesSentToUART);
    const std::uint64_t written = Others(m_nNumBytesWritten);
    if (m_nStatus == TRANSPORT_STATUS_OK && written > sent) {
        const auto count = static_cast<unsigned int>(std::min<std::uint64_t>(max, written - sent));
        CopyFromRing(m_TransmitRing, sent, {buf, count});
        Publish(m_nNumBytesSentToUART, sent + count);
        *got = count;
    }
    return m_nStatus;
}

// The consumer's count is read first: it never passes the producer's, so the difference cannot
// come out below zero while the other thread moves on.
std::uint64_t CUARTTransportData::CountBytesNotYetRead() const {
    const std::uint64_t read = m_nNumReceivedBytesRead;
    return m_nNumBytesReceivedFromUART - read;
}

std::uint64_t CUARTTransportData::CountBytesNotYetTransmitted() const {
    const std::uint64_t sent = m_nNumBytesSentToUART;
    return m_nNumBytesWritten - sent;
}

void CUARTTransportData::OutputDebugString(const char* /*text*/) {}

void CUARTTransportData::SetReceiveCallback(RxCallback callback, void* context) {
    m_pReceiveCallback = callback;
    m_pCallbackContext = context;
}

void CUARTTransportData::CallReceiveCallback(unsigned char* bytes, unsigned int n) {
    if (m_pReceiveCallback != nullptr) {
        m_pReceiveCallback(m_pCallbackContext, bytes, n);
    }
}

void CUARTTransportData::CopyIntoRing(Ring& ring, std::uint64_t count,
                                      std::span<const unsigned char> bytes) {
    const std::size_t position = count % RING_SIZE;
    const std::size_t first = std::min(bytes.size(), RING_SIZE - position);
    std::copy_n(bytes.begin(), first, ring.begin() + static_cast<std::ptrdiff_t>(position));
    std::copy(bytes.begin() + static_cast<std::ptrdiff_t>(first), bytes.end(), ring.begin());
}

void CUARTTransportData::CopyFromRing(const Ring& ring, std::uint64_t count,
                                      std::span<unsigned char> bytes) {
    const std::size_t position = count % RING_SIZE;
    const std::size_t first = std::min(bytes.size(), RING_SIZE - position);
    std::copy_n(ring.begin() + static_cast<std::ptrdiff_t>(position), first, bytes.begin());
    std::copy_n(ring.begin(), bytes.size() - first,
                bytes.begin() + static_cast<std::ptrdiff_t>(first));
}

TransportStatus CUARTTransportData::Fail(TransportStatus status) {
    TransportStatus expected = TRANSPORT_STATUS_OK;
    return m_nStatus.compare_exchange_strong(expected, status) ? status : expected;
}
