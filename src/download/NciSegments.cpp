#include "download/NciSegments.h"

#include <algorithm>
#include <cstdint>

#include "download/ChipDownloader.h"
#include "download/HciTrace.h"
#include "os/OSTime.h"
#include "util/FormatText.h"

namespace {

using BYTES = std::span<const unsigned char>;

constexpr std::size_t HEADER_SIZE = 4;  // packet indicator and NCI header
constexpr std::size_t MAX_PAYLOAD_SIZE = 255;
constexpr unsigned char NCI_INDICATOR = 0x10;
constexpr unsigned char SEGMENT = 0x3F;  // a proprietary command; more of it follows
constexpr unsigned char LAST_SEGMENT = 0x2F;
constexpr unsigned char LOAD_PATCH = 0x2E;
constexpr std::size_t MAX_REPLY_SIZE = 2048;
constexpr unsigned int RECEIVE_TRIES = 200;

unsigned int LowAddressBits(BYTES bytes) {
    return static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(bytes.data()));
}

// Most traces begin with the name of the operation that uses the segments.
std::string Named(const std::string& text) {
    return "CCustomX4410ADownloadAssistant::ChunkedTxRx" + text;
}

std::string ShowBytes(const char* label, BYTES bytes, std::size_t maxShown) {
    return Named(ShowBytesString(label, bytes.data(), static_cast<unsigned int>(bytes.size()),
                                 static_cast<unsigned int>(maxShown)));
}

}  // namespace

ReplyFailure CNciSegments::Exchange(BYTES record, BYTES expected) {
    Trace("Entered   " +
          Named(FormatText("  pTxData=%08X  nTxNumBytes=%0d  pRxDataExpected=%08X  "
                           "nRxExpectedNumBytes=%d",
                           LowAddressBits(record), static_cast<int>(record.size()),
                           LowAddressBits(expected), static_cast<int>(expected.size()))));
    Trace(ShowBytes(" record to send ", record, 512));
    const std::string sendError = Send(record.subspan(std::min(HEADER_SIZE, record.size())));
    ReplyFailure failure = sendError.empty() ? Receive(expected) : sendError;
    Trace(Named(std::string("  exiting with bCommandCompleted=") + (failure ? "0" : "1")));
    return failure;
}

void CNciSegments::Trace(const std::string& text) {
    if (m_pDownloader != nullptr) {
        m_pDownloader->SetStatusDetails(text);
    }
}

std::string CNciSegments::Send(BYTES payload) {
    const std::size_t segmentSize = std::clamp<std::size_t>(m_nPayloadSize, 1, MAX_PAYLOAD_SIZE);
    std::string error;
    while (!payload.empty() && error.empty()) {
        Trace(
            Named("  top of tx loop with remaining nTxNumBytes=" + std::to_string(payload.size())));
        const std::size_t n = std::min(segmentSize, payload.size());
        error = SendSegment(payload.first(n), n == payload.size());
        payload = payload.subspan(n);
        if (!payload.empty()) {
            PutThreadToSleep(m_nTxPauseMS);
        }
    }
    return error;
}

std::string CNciSegments::SendSegment(BYTES payload, bool isLast) {
    std::vector<unsigned char> segment = {NCI_INDICATOR, isLast ? LAST_SEGMENT : SEGMENT,
                                          LOAD_PATCH, static_cast<unsigned char>(payload.size())};
    segment.insert(segment.end(), payload.begin(), payload.end());
    Trace(ShowBytes(" sending chunk to HW ", segment, HEADER_SIZE + MAX_PAYLOAD_SIZE));
    return SendPacket(m_pConnector, std::move(segment));
}

ReplyFailure CNciSegments::Receive(BYTES expected) {
    for (unsigned int tries = 0; tries < RECEIVE_TRIES; ++tries) {
        std::string error = m_Chunk.Fetch(m_pConnector);
        TakeOnePacket();
        if (!error.empty()) {
            return error;
        }
        if (FindExpected(expected)) {
            return std::nullopt;
        }
        PutThreadToSleep(m_nRxPauseMS);
    }
    return "";
}

// Moves the first packet, once it is whole, to the reply. What follows it stays for the next try.
void CNciSegments::TakeOnePacket() {
    const BYTES received = m_Chunk.Bytes();
    if (received.size() < HEADER_SIZE || received.size() < HEADER_SIZE + received[3]) {
        return;
    }
    const BYTES packet = received.first(HEADER_SIZE + received[3]);
    if (m_Reply.size() + packet.size() <= MAX_REPLY_SIZE) {
        m_Reply.insert(m_Reply.end(), packet.begin(), packet.end());
    } else {
        Trace(Named(" out of arRxByteBuf space   nNumRxBytes=" + std::to_string(m_Reply.size()) +
                    "    new chunk nThisChunkSizeExpected=" + std::to_string(packet.size())));
    }
    if (received.size() > packet.size()) {
        Trace("  Shifting arRxChunk because it contains more than one chunk. Total length=" +
              std::to_string(received.size()) + "  this chunk=" + std::to_string(packet.size()));
    }
    m_Chunk.DropFront(packet.size());
}

bool CNciSegments::FindExpected(BYTES expected) {
    if (m_Reply.size() < expected.size()) {
        return false;
    }
    Trace("        nNumRxBytes=" + std::to_string(m_Reply.size()) + "   nRxExpectedNumBytes=" +
          std::to_string(expected.size()) + "    calling FindBytesInBuffer ");
    return std::search(m_Reply.begin(), m_Reply.end(), expected.begin(), expected.end()) !=
           m_Reply.end();
}
