#pragma once

#include <array>
#include <span>
#include <string>

class CChipDownloader;
class CSerialConnector;

// One record on its way over a bus that takes short packets only: sent as NCI control segments,
// each with a header of its own, and answered by packets that are put together again (NFC Forum
// NCI, segmentation and reassembly). Lives for one record, on the thread that sends it.
class CNciSegments {
public:
    // downloader may be null; it gets the traces.
    CNciSegments(CSerialConnector* connector, CChipDownloader* downloader)
        : m_pConnector(connector), m_pDownloader(downloader) {}

    // Sends what follows the record's own four header bytes, payloadSize bytes (above 0; an NCI
    // payload has 255 at most) in a segment. Returns the transport's error text.
    std::string Send(std::span<unsigned char> record, unsigned int payloadSize,
                     unsigned int pauseMS);

    // Polls until expected shows up in the payloads and headers received; false with an error
    // text for a transport error, without one when the tries are used up.
    bool Receive(std::span<const unsigned char> expected, unsigned int pauseMS, std::string* error);

    void TraceEntry(const unsigned char* txData, unsigned int txLength,
                    const unsigned char* expected, unsigned int expectedLength);
    void TraceExit(bool completed);

private:
    void Trace(const std::string& text);
    std::string SendSegment(std::span<const unsigned char> payload, bool isLast);
    void TakeOnePacket();
    bool FindExpected(std::span<const unsigned char> expected);

    CSerialConnector* m_pConnector;
    CChipDownloader* m_pDownloader;
    // What has come and is not yet a whole packet, with room for the longest and a piece more.
    std::array<unsigned char, 272> m_Chunk{};
    unsigned int m_nChunkBytes = 0;
    std::array<unsigned char, 2048> m_Reply{};
    unsigned int m_nReplyBytes = 0;
};
