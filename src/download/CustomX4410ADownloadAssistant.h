#pragma once

#include <span>
#include <string>

#include "image/CustomDownloadAssistant.h"

class CByteBuffer;
class CChipImageByteData;
class CDownloadRulesSet;
class CSerialConnector;

// The mode's name in messages, whichever of its type names was asked for.
inline constexpr char SPECIAL_X4410A_DL_NAME[] = "SPD";

// Downloads a signed patch set: the records of an NCD file go out one by one, exactly as stored,
// and each is acknowledged with an NCI response (NFC Forum NCI, 3.4.1 for the packet header).
//
// DownloadPrepare runs on the thread that prepares the download, the rest on the download thread.
// Operations return an error text, empty on success.
class CCustomX4410ADownloadAssistant : public CCustomDownloadAssistant {
public:
    using CCustomDownloadAssistant::CCustomDownloadAssistant;

    std::string DownloadPrepare(CChipDownloader* downloader) override;
    unsigned int ExecuteDownload(CChipDownloader* downloader) override;
    virtual std::string DownloadPatches(CChipDownloader* downloader);
    virtual std::string PerformReset(CChipDownloader* downloader);

    // Sends one record as NCI segments of at most the chunked transmit payload size and puts the
    // received packets together until expected shows up in them. prefix and timeoutMS are not used:
    // the time is 200 tries with the receive pause between them. downloader (may be null) gets the
    // traces. *error receives the transport's text; a missing reply leaves it empty.
    bool ChunkedTxRx(CSerialConnector* connector, CByteBuffer* prefix, unsigned char* txData,
                     unsigned int txLength, unsigned char* expected, unsigned int expectedLength,
                     unsigned int timeoutMS, std::string* error, CChipDownloader* downloader);

protected:
    // Sends all records in order; the first failure is set as the error and returned.
    std::string SendRecords(CChipDownloader* downloader);

    // One record, in segments when a payload size is set. Returns whether the response came.
    virtual bool SendRecord(const CByteBuffer& record, std::span<const unsigned char> response,
                            unsigned int timeoutMS, std::string* error,
                            CChipDownloader* downloader);

    // The same, as one packet whatever its length.
    static bool SendWholeRecord(const CByteBuffer& record, std::span<const unsigned char> response,
                                unsigned int timeoutMS, std::string* error,
                                CChipDownloader* downloader);

    // What follows a signature record that was acknowledged.
    virtual std::string FinishPatchSet(CChipDownloader* downloader);

private:
    std::string CheckFileCounts() const;
    void ReadParameters(const CDownloadRulesSet& rules);
    std::string LoadPatchFiles(CChipDownloader* downloader);
    static std::string DisableSecureMode(CChipDownloader* downloader);
    std::string SendSignatureRecord(CChipDownloader* downloader, const CByteBuffer& record);
    std::string SendPatchRecord(CChipDownloader* downloader, const CByteBuffer& record);

    unsigned int m_nSignatureRecords = 0;
    // Each with the download parameter that sets it. Times are in milliseconds.
    bool m_bSecureMode = true;                    // CustomXAEnableSecure: 0 turns it off
    unsigned int m_nPauseAfterPatchSetMS = 1000;  // CustomXATimeOutAfterPatchMS
    unsigned int m_nWaitForPatchRecordMS = 500;   // CustomXAMaxWaitForPatchRecMS
    unsigned int m_nWaitForSignatureMS = 5000;    // CustomXAMaxWaitForSignatureMS
    unsigned int m_nPauseBeforeSignatureMS = 0;   // CustomXATimeoutBeforeSignatureMS
    // CustomXAChunkedBusTxMaxPayloadSize, bytes; 0 = records go out whole.
    unsigned int m_nChunkedTxPayloadSize = 0;
    // CustomXAChunkedRxMaxTries. Kept, and not used: the chunked receive counts its own fixed
    // tries.
    unsigned int m_nChunkedRxTries = 200;
    unsigned int m_nPauseBetweenTxChunksMS = 50;  // CustomXAChunkedTxTimeoutMS
    unsigned int m_nPauseBetweenRxPollsMS = 50;   // CustomXAChunkedRxTimeoutMS
};
