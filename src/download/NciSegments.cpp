#include "download/NciSegments.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "download/ChipDownloader.h"
#include "download/HciExchange.h"
#include "download/HciTrace.h"
#include "os/OSTime.h"
#include "transport/SerialConnector.h"
#include "util/FormatText.h"

namespace {

constexpr unsigned int HEADER_SIZE = 4;  // packet indicator and NCI header
constexpr unsigned int MAX_PAYLOAD_SIZE = 255;
constexpr unsigned int RECEIVE_TRIES = 200;
constexpr unsigned int MAX_RECORD_BYTES_SHOWN = 512;
constexpr unsigned int MAX_SEGMENT_BYTES_SHOWN = 259;

unsigned int LowAddressBits(const unsigned char* pointer) {
    return static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(pointer));
}

}  // namespace

void CNciSegments::Trace(const std::string& text) {
    if (m_pDownloader != nullptr) {
        m_pDownloader->SetStatusDetails(text);
    }
}

void CNciSegments::TraceEntry(const unsigned char* txData, unsigned int txLength,
                              const unsigned char* expected, unsigned int expectedLength) {
    if (m_pDownloader == nullptr) {
        return;
    }
    Trace(
        FormatText("Entered   CCustomX4410ADownloadAssistant::ChunkedTxRx  pTxData=%08X  "
                   "nTxNumBytes=%0d  pRxDataExpected=%08X  nRxExpectedNumBytes=%d",
                   LowAddressBits(txData), static_cast<int>(txLength), LowAddressBits(expected),
                   static_cast<int>(expectedLength)));
    Trace(ShowBytesString("CCustomX4410ADownloadAssistant::ChunkedTxRx record to send ", txData,
                          txLength, MAX_RECORD_BYTES_SHOWN));
}

void CNciSegments::TraceExit(bool completed) {
    Trace(
        FormatText("CCustomX4410ADownloadAssistant::ChunkedTxRx  exiting with bCommandCompleted=%d",
                   completed ? 1 : 0));
}

std::string CNciSegments::Send(std::span<unsigned char> record, unsigned int payloadSize,
                               unsigned int pauseMS) {
    std::span<const unsigned char> rest =
        record.subspan(std::min<std::size_t>(HEADER_SIZE, record.size()));
    const std::size_t segmentSize = std::clamp(payloadSize, 1U, MAX_PAYLOAD_SIZE);
    std::string error;
    while (!rest.empty() && error.empty()) {
        Trace(
            FormatText("CCustomX4410ADownloadAssistant::ChunkedTxRx  top of tx loop with "
                       "remaining nTxNumBytes=%d",
                       static_cast<int>(rest.size())));
        const std::size_t n = std::min(segmentSize, rest.size());
        error = SendSegment(rest.first(n), n == rest.size());
        rest = rest.subspan(n);
        if (!rest.empty()) {
            PutThreadToSleep(pauseMS);
        }
    }
    return error;
}

std::string CNciSegments::SendSegment(std::span<const unsigned char> payload, bool isLast) {
    std::array<unsigned char, HEADER_SIZE + MAX_PAYLOAD_SIZE> segment = {
        0x10, static_cast<unsigned char>(isLast ? 0x2F : 0x3F), 0x2E,
        static_cast<unsigned char>(payload.size())};
    std::copy(payload.begin(), payload.end(), segment.begin() + HEADER_SIZE);
    const auto size = static_cast<unsigned int>(HEADER_SIZE + payload.size());
    Trace(ShowBytesString("CCustomX4410ADownloadAssistant::ChunkedTxRx sending chunk to HW ",
                          segment.data(), size, MAX_SEGMENT_BYTES_SHOWN));
    return m_pConnector->TransmitBytes(segment.data(), size);
}

bool CNciSegments::Receive(std::span<const unsigned char> expected, unsigned int pauseMS,
                           std::string* error) {
    bool found = false;
    for (unsigned int tries = 0; tries < RECEIVE_TRIES && !found && error->empty(); ++tries) {
        *error = FetchMoreReceivedBytes(m_pConnector, m_Chunk.data(),
                                        static_cast<unsigned int>(m_Chunk.size()), &m_nChunkBytes);
        TakeOnePacket();
        found = error->empty() && FindExpected(expected);
        if (!found) {
            PutThreadToSleep(pauseMS);
        }
    }
    return found;
}

// Moves the first packet, once it is whole, to the reply. What follows it stays for the next try.
void CNciSegments::TakeOnePacket() {
    if (m_nChunkBytes < HEADER_SIZE || m_nChunkBytes < m_Chunk[3] + HEADER_SIZE) {
        return;
    }
    const unsigned int size = m_Chunk[3] + HEADER_SIZE;
    if (m_nReplyBytes + size <= m_Reply.size()) {
        std::memcpy(m_Reply.data() + m_nReplyBytes, m_Chunk.data(), size);
        m_nReplyBytes += size;
    } else {
        Trace(
            FormatText("CCustomX4410ADownloadAssistant::ChunkedTxRx out of arRxByteBuf space   "
                       "nNumRxBytes=%d    new chunk nThisChunkSizeExpected=%d",
                       static_cast<int>(m_nReplyBytes), static_cast<int>(size)));
    }
    if (m_nChunkBytes > size) {
        Trace(
            FormatText("  Shifting arRxChunk because it contains more than one chunk. Total "
                       "length=%d  this chunk=%d",
                       static_cast<int>(m_nChunkBytes), static_cast<int>(size)));
        std::memmove(m_Chunk.data(), m_Chunk.data() + size, m_nChunkBytes - size);
    }
    m_nChunkBytes -= size;
}

bool CNciSegments::FindExpected(std::span<const unsigned char> expected) {
    if (m_nReplyBytes < expected.size()) {
        return false;
    }
    Trace(
        FormatText("        nNumRxBytes=%d   nRxExpectedNumBytes=%d    calling "
                   "FindBytesInBuffer ",
                   static_cast<int>(m_nReplyBytes), static_cast<int>(expected.size())));
    return FindBytesInBuffer(m_Reply.data(), m_nReplyBytes, expected.data(),
                             static_cast<unsigned int>(expected.size())) != nullptr;
}
