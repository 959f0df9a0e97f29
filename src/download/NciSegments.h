#pragma once

#include <span>
#include <string>
#include <vector>

#include "download/HciExchange.h"
#include "download/ReceiveBuffer.h"

// Sends one record over a bus that takes short packets only: cut into NCI control segments, each
// with a header of its own, and answered by packets that are put together again (NFC Forum NCI,
// segmentation and reassembly). Lives for one record, on the thread that sends it.
class CNciSegments {
public:
    // payloadSize: the bytes of a segment, above 0; an NCI payload has 255 at most. The pauses are
    // those between two segments and between two polls, in milliseconds. downloader may be null; it
    // gets the traces.
    CNciSegments(CSerialConnector* connector, unsigned int payloadSize, unsigned int txPauseMS,
                 unsigned int rxPauseMS, CChipDownloader* downloader)
        : m_pConnector(connector),
          m_nPayloadSize(payloadSize),
          m_nTxPauseMS(txPauseMS),
          m_nRxPauseMS(rxPauseMS),
          m_pDownloader(downloader) {}

    // Sends what follows the record's own four header bytes, then polls until expected shows up in
    // the packets received, or 200 tries are used up.
    [[nodiscard]] ReplyFailure Exchange(std::span<const unsigned char> record,
                                        std::span<const unsigned char> expected);

private:
    void Trace(const std::string& text);
    std::string Send(std::span<const unsigned char> payload);
    std::string SendSegment(std::span<const unsigned char> payload, bool isLast);
    ReplyFailure Receive(std::span<const unsigned char> expected);
    void TakeOnePacket();
    bool FindExpected(std::span<const unsigned char> expected);

    CSerialConnector* m_pConnector;
    unsigned int m_nPayloadSize;
    unsigned int m_nTxPauseMS;
    unsigned int m_nRxPauseMS;
    CChipDownloader* m_pDownloader;
    CReceiveBuffer m_Chunk{272};  // room for the longest packet and a piece of the next
    std::vector<unsigned char> m_Reply;
};
