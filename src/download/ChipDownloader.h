#pragma once

#include <memory>
#include <string>

#include "download/DownloadRecord.h"
#include "image/ChipImageLoadingInformation.h"
#include "os/OSExecutionThread.h"
#include "util/ByteBuffer.h"

class CSerialConnector;

// The HCI command packet indicator (Bluetooth Core Vol 4 Part A, 2): it precedes each command on a
// UART.
inline constexpr unsigned char arUartTxPrefix[] = {0x01};

// Runs one download: owns a copy of the loading information and the download thread; the base class
// is the record of the run. Operations that can fail return an error text, empty on success.
//
// The caller's thread constructs, prepares, starts, polls and destroys; the download thread runs
// the standard sequence or a custom download assistant. Both of these use this class, so what
// starts them is in sources above theirs: VintorPreparations.cpp and, on top,
// ChipDownloaderRun.cpp.
class CChipDownloader : public CDownloadRecord {
public:
    // The connector is not owned and outlives the downloader.
    CChipDownloader(const CChipImageLoadingInformation& info, CSerialConnector* connector);
    CChipDownloader(const char* minidriverFile, const char* configFile, const char* firmwareFile,
                    CSerialConnector* connector);

    // Ends the download thread, wherever it is, and waits until it is done. Not virtual: do not
    // delete a derived class through a pointer to this one.
    ~CChipDownloader();

    virtual std::string PrepareForDownload();

    // Ends a download that still runs, then starts. callback may be null. Returns once the thread
    // has had half a second to get going.
    virtual std::string StartDownload(DownloadProgressCallback callback);

    // Asks the download to stop after the current step. It counts as canceled at once, so there is
    // no waiting, whatever timeoutMs says; the destructor waits.
    virtual std::string CancelDownload(int timeoutMs);

    CChipImageLoadingInformation* DownloadInfo() { return &m_LoadingInformation; }
    CSerialConnector* SerialConnector() { return m_pConnector; }
    // arUartTxPrefix on a UART; null on other ports.
    CByteBuffer* UARTTransmitPrefix() { return m_pUartTxPrefix.get(); }

    unsigned int AddUpChunkSizes(const char* kind) const;

    // Preparation of the standard sequence. Each returns an error text.
    std::string VintorDownloadFinalPreparations();
    std::string VintorPreDownloadSendMessages();  // those in CustomVintorPreloadMessages
    std::string VintorDownloadMinidriverCommand();

    // Extracts three groups in braces from the text; returns the position after the third, or null
    // when a brace is missing.
    static const char* ExtractNextByteSequenceToSend(const char* text, std::string* bytesToSend,
                                                     std::string* bytesExpected,
                                                     std::string* maxTime);
    // Whether three such groups make a message: its bytes, those expected back, the longest wait in
    // ms. Returns an error text.
    static std::string CheckPreloadMessage(const std::string& toSend,
                                           const std::string& expectedBack,
                                           const std::string& maxTime);

private:
    static unsigned int DownloadingThread(CExecutionThread* thread);
    void EndDownloadThread();

    CChipImageLoadingInformation m_LoadingInformation;
    CSerialConnector* m_pConnector;
    std::unique_ptr<CByteBuffer> m_pUartTxPrefix;
    std::unique_ptr<COSExecutionThread> m_pDownloadThread;
};
