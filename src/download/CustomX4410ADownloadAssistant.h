#pragma once

#include <string>

#include "image/CustomDownloadAssistant.h"

class CByteBuffer;
class CDownloadRulesSet;
class CSerialConnector;

// The mode's name in messages, whichever of its type names was requested.
inline constexpr char SPECIAL_X4410A_DL_NAME[] = "SPD";

// Downloads a signed patch set: sends the records of an NCD file one by one, exactly as stored, and
// waits for the NCI response to each (NFC Forum NCI, 3.4.1 for the packet header).
//
// DownloadPrepare runs on the thread that prepares the download, all else on the download thread.
// Operations return an error text, empty on success.
class CCustomX4410ADownloadAssistant : public CCustomDownloadAssistant {
public:
    using CCustomDownloadAssistant::CCustomDownloadAssistant;

    std::string DownloadPrepare(CChipDownloader* downloader) override;
    unsigned int ExecuteDownload(CChipDownloader* downloader) override;
    virtual std::string DownloadPatches(CChipDownloader* downloader);
    virtual std::string PerformReset(CChipDownloader* downloader);

    // Sends one record as NCI segments of at most the chunked transmit payload size and joins the
    // received packets until they contain expected. prefix and timeoutMS are not used: the limit is
    // 200 tries, with the receive pause after each. downloader (may be null) gets the traces.
    // *error receives the transport's text and stays empty when only the reply is missing.
    bool ChunkedTxRx(CSerialConnector* connector, CByteBuffer* prefix, unsigned char* txData,
                     unsigned int txLength, unsigned char* expected, unsigned int expectedLength,
                     unsigned int timeoutMS, std::string* error, CChipDownloader* downloader);

protected:
    static constexpr unsigned int SEND_WHOLE = 0;

    // Sends all records in order, in segments of payloadSize bytes or whole. The first failure is
    // set as the error and returned.
    [[nodiscard]] std::string SendRecords(CChipDownloader* downloader, unsigned int payloadSize);

    // Runs after each acknowledged signature record.
    [[nodiscard]] virtual std::string FinishPatchSet(CChipDownloader* downloader);

private:
    [[nodiscard]] std::string CheckFileCounts() const;
    void ReadParameters(const CDownloadRulesSet& rules);
    [[nodiscard]] std::string LoadPatchFile(CChipDownloader* downloader);
    [[nodiscard]] static std::string DisableSecureMode(CChipDownloader* downloader);
    [[nodiscard]] std::string SendRecord(CChipDownloader* downloader, const CByteBuffer& record,
                                         unsigned int payloadSize);

    // Each with the download parameter that sets it. Times are in milliseconds.
    bool m_bSecureMode = true;                          // CustomXAEnableSecure: 0 turns it off
    unsigned int m_nPauseAfterPatchSetMS = 1000;        // CustomXATimeOutAfterPatchMS
    unsigned int m_nWaitForPatchRecordMS = 500;         // CustomXAMaxWaitForPatchRecMS
    unsigned int m_nWaitForSignatureMS = 5000;          // CustomXAMaxWaitForSignatureMS
    unsigned int m_nPauseBeforeSignatureMS = 0;         // CustomXATimeoutBeforeSignatureMS
    unsigned int m_nChunkedTxPayloadSize = SEND_WHOLE;  // CustomXAChunkedBusTxMaxPayloadSize, bytes
    // CustomXAChunkedRxMaxTries, without effect: the number of tries is fixed, and rule files that
    // set another one keep their timing.
    unsigned int m_nChunkedRxTries = 200;
    unsigned int m_nPauseBetweenTxChunksMS = 50;  // CustomXAChunkedTxTimeoutMS
    unsigned int m_nPauseBetweenRxPollsMS = 50;   // CustomXAChunkedRxTimeoutMS
};
