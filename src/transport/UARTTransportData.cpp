#include "transport/UARTTransportData.h"

#include "util/FormatText.h"

TransportStatus CUARTTransportData::TransferReceivedBytesFromUART(const unsigned char* bytes,
                                                                  unsigned int n) {
    const bool isTaken =
        m_nStatus == TRANSPORT_STATUS_OK && m_Received.Put({bytes, n}, MAX_RECEIVE_QUEUE_SIZE);
    const TransportStatus status = isTaken ? m_nStatus.load() : Fail(TRANSPORT_STATUS_RX_OVERFLOW);
    m_Arrival.Raise();
    return status;
}

TransportStatus CUARTTransportData::ReadReceivedBytes(unsigned char* buf, unsigned int max,
                                                      unsigned int* got) {
    if (m_nStatus != TRANSPORT_STATUS_OK) {
        *got = 0xFFFFFFFF;
        return m_nStatus;
    }
    m_Arrival.Lower();
    *got = m_Received.Take({buf, max});
    if (m_Received.CountHeld() != 0) {
        m_Arrival.Raise();
    }
    // These bytes are complete even if the ring has overflowed meanwhile; the next call says so.
    return TRANSPORT_STATUS_OK;
}

TransportStatus CUARTTransportData::WriteBytesForTransmission(const unsigned char* bytes,
                                                              unsigned int n) {
    if (m_nStatus == TRANSPORT_STATUS_OK && m_ToSend.Put({bytes, n}, MAX_TRANSMIT_QUEUE_SIZE)) {
        return m_nStatus;
    }
    const std::uint64_t written = m_ToSend.CountPut();
    const std::uint64_t sent = m_ToSend.CountTaken();
    m_strStatusText = FormatText(
        "CTransportData::WriteBytesForTransmission TransportStatusTransmitOverflow: "
        "m_nNumBytesWritten + nNumBytes - m_nNumBytesSentToUART=%d+%d-%d=%d > "
        "MAX_TRANSMIT_QUEUE_SIZE",
        static_cast<std::int32_t>(written), static_cast<std::int32_t>(n),
        static_cast<std::int32_t>(sent), static_cast<std::int32_t>(written + n - sent));
    return Fail(TRANSPORT_STATUS_TX_OVERFLOW);
}

TransportStatus CUARTTransportData::TransferBytesToBeSentToUART(unsigned char* buf,
                                                                unsigned int max,
                                                                unsigned int* got) {
    *got = m_nStatus == TRANSPORT_STATUS_OK ? m_ToSend.Take({buf, max}) : 0;
    return m_nStatus;
}

void CUARTTransportData::SetReceiveCallback(RxCallback callback, void* context) {
    m_pReceiveCallback = callback;
    m_pCallbackContext = context;
}

void CUARTTransportData::CallReceiveCallback(unsigned char* bytes, unsigned int n) {
    if (m_pReceiveCallback != nullptr) {
        m_pReceiveCallback(m_pCallbackContext, bytes, n);
    }
}

TransportStatus CUARTTransportData::Fail(TransportStatus status) {
    TransportStatus expected = TRANSPORT_STATUS_OK;
    return m_nStatus.compare_exchange_strong(expected, status) ? status : expected;
}
