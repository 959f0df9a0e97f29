#pragma once

#include <atomic>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "download/CompletedSectionInfo.h"
#include "download/DownloadStates.h"
#include "image/ChipImageLoadingInformation.h"
#include "os/FairMutex.h"
#include "os/LockGuard.h"
#include "os/OSExecutionThread.h"
#include "os/OSMutex.h"
#include "util/ByteBuffer.h"

class CSerialConnector;

// The HCI command packet indicator (Bluetooth Core Vol 4 Part A, 2): on a UART it stands before
// each command.
inline constexpr unsigned char arUartTxPrefix[] = {0x01};

// Runs on the download thread, while that thread may hold the access lock: it must not take it.
using DownloadProgressCallback = unsigned int (*)(unsigned int downloadedBytes,
                                                  unsigned int verifiedBytes, DownloadStates state,
                                                  const char* text);

// One download: its own copy of the loading information, the connector, the state, the counters,
// the status lines, the log file and the list of filled memory areas. Operations that can fail
// return an error text, empty on success.
//
// Threads. The caller's thread constructs, prepares, starts, polls and destroys; the download
// thread runs the procedure. Counters, state, block info and the cancel flag are atomics and may be
// read at any time. The access lock makes a poll see figures, state and areas that belong together:
// the procedures hold it for one step, the poller for one poll, and whoever waits gets it next. The
// details lock guards the list of status details. What neither lock guards belongs to one thread at
// a time: to the caller until StartDownload, to the download thread until a final state is read. A
// canceled download may be in the middle of a step, so there the download thread keeps it until the
// downloader is destroyed.
//
// Only PrepareForDownload leaves a final state (completed, error, canceled): the first one stands.
class CChipDownloader {
public:
    // The connector is not owned and outlives the downloader.
    CChipDownloader(const CChipImageLoadingInformation& info, CSerialConnector* connector);
    CChipDownloader(const char* minidriverFile, const char* configFile, const char* firmwareFile,
                    CSerialConnector* connector);
    CChipDownloader(const CChipDownloader&) = delete;
    CChipDownloader& operator=(const CChipDownloader&) = delete;

    // Ends the download thread, wherever it is, and waits until it is done. Not virtual: a
    // downloader is always destroyed as what it is.
    ~CChipDownloader();

    virtual std::string PrepareForDownload();

    // callback may be null. Returns once the thread is under way. A download that still runs is
    // ended first.
    virtual std::string StartDownload(DownloadProgressCallback callback);

    // Asks the download to stop behind the step in hand. It counts as canceled at once, so nothing
    // is waited for, whatever timeoutMs says; the destructor waits.
    virtual std::string CancelDownload(int timeoutMs);

    // Whether the download goes on. The first call after a cancel request turns a running download
    // into a canceled one.
    bool IsRunning();
    // Whether a cancel request has ended it; asked by the procedures between their steps.
    bool IsCanceled();

    // The waiters are served in the order in which they came.
    bool LockForAccess() HCILOAD_ACQUIRE(m_AccessLock);
    void UnlockAccess() HCILOAD_RELEASE(m_AccessLock);
    CFairMutex& AccessLock() HCILOAD_RETURN_CAPABILITY(m_AccessLock) { return m_AccessLock; }

    // What the procedures report.
    void SetState(DownloadStates state);
    unsigned int ReportProgress(const char* text);
    void IncrementDownloadByteCounter(bool isCode, unsigned int count);
    void IncrementVerifyByteCounter(bool isCode, unsigned int count);
    void UpdateLoadingBlockInfo(unsigned int address, int size, int position, bool isCode);
    void ClearLoadingBlockInfo();
    void RecordCompletedMemSegment(unsigned int startAddress, unsigned int byteCount, bool isCode);
    void SetStatusDetails(const char* text);
    void AddLogText(const char* text);
    void SetError(const char* text);
    unsigned int ReportProgress(const std::string& text) { return ReportProgress(text.c_str()); }
    void SetStatusDetails(const std::string& text) { SetStatusDetails(text.c_str()); }
    void AddLogText(const std::string& text) { AddLogText(text.c_str()); }
    void SetError(const std::string& text) { SetError(text.c_str()); }

    // What the poller reads. Outputs may be null unless said.
    DownloadStates GetStatus(unsigned int* codeDownloaded, unsigned int* dataDownloaded,
                             unsigned int* codeVerified, unsigned int* dataVerified) const;
    // The totals are required. A percentage of a total of 0 is 0.
    void GetDownloadAmount(unsigned int* codeTotal, unsigned int* dataTotal,
                           unsigned int* codeDownloaded, unsigned int* dataDownloaded,
                           float* codePercent, float* dataPercent) const;
    void GetVerifiedAmount(unsigned int* codeVerified, unsigned int* dataVerified,
                           float* codePercent, float* dataPercent) const;
    // All four are required. Returns the is-code flag. Size and position are -1 between blocks.
    bool GetCurrentDownloadBlockInfo(unsigned int* address, int* size, int* position,
                                     bool* isCode) const;
    static std::string GetStateName(DownloadStates state);
    // Valid once the state is DOWNLOAD_TERMINATED_WITH_ERROR.
    const char* GetErrorDescription() const { return m_strErrorDescription.c_str(); }
    // Read under the access lock.
    const std::vector<COMPLETED_SECTION_INFO>* GetCompletedMemSegmentList() const {
        return &m_CompletedAreas;
    }
    // Hands out each status detail once, in order; returns how many.
    unsigned int GetAllRecentDetails(std::vector<std::string>& out);
    // The lines written to the log since the last call. Takes no lock: for a moment when the
    // download thread is not writing.
    void GetMostRecentLogLines(std::string* out);

    CChipImageLoadingInformation* DownloadInfo() { return &m_LoadingInformation; }
    CSerialConnector* SerialConnector() { return m_pConnector; }
    // arUartTxPrefix on a UART; null where there is no packet indicator.
    CByteBuffer* UARTTransmitPrefix() { return m_pUartTxPrefix.get(); }

    unsigned int AddUpChunkSizes(const char* kind) const;

    // The standard sequence's part of the preparation; each returns an error text.
    std::string VintorDownloadFinalPreparations();
    std::string VintorPreDownloadSendMessages();  // those in CustomVintorPreloadMessages
    std::string VintorDownloadMinidriverCommand();

    // Takes three groups in braces from the text; returns the position behind the third, or null
    // when a brace is missing.
    static const char* ExtractNextByteSequenceToSend(const char* text, std::string* bytesToSend,
                                                     std::string* bytesExpected,
                                                     std::string* maxTime);

private:
    struct CFileCloser {
        void operator()(FILE* file) const { std::fclose(file); }
    };

    static unsigned int DownloadingThread(CExecutionThread* thread);
    void EndDownloadThread();
    void EnterState(DownloadStates next);  // from any state that is not final
    std::string SendPreloadMessage(const std::string& toSend, const std::string& expectedBack,
                                   const std::string& maxTime);
    void OpenLogFile();
    void CloseLogFile();
    void LogPreparedDownload();
    void LogFileNames(const char* heading, unsigned int count,
                      std::string (CChipDownloadDescriptor::*name)(unsigned int) const);
    void WriteLogLine(std::string line);

    CChipImageLoadingInformation m_LoadingInformation;
    CSerialConnector* m_pConnector;
    std::unique_ptr<COSExecutionThread> m_pDownloadThread;
    std::string m_strErrorDescription;
    std::atomic<DownloadStates> m_State = DOWNLOAD_UNINITIALIZED;
    std::atomic<unsigned int> m_nDataBytesDownloaded = 0;
    std::atomic<unsigned int> m_nCodeBytesDownloaded = 0;
    std::atomic<unsigned int> m_nDataBytesVerified = 0;
    std::atomic<unsigned int> m_nCodeBytesVerified = 0;
    std::atomic<unsigned int> m_nDataBytesTotal = 0;
    std::atomic<unsigned int> m_nCodeBytesTotal = 0;
    COSMutex m_DetailsLock;
    std::string m_strCurrentStatusDetail;      // guarded by the details lock
    std::vector<std::string> m_RecentDetails;  // guarded by the details lock; not yet handed out
    CFairMutex m_AccessLock;
    std::atomic<unsigned int> m_nBlockAddress = 0;
    std::atomic<int> m_nBlockSize = -1;
    std::atomic<int> m_nBlockPosition = -1;
    std::atomic<bool> m_bBlockIsCode = false;
    std::unique_ptr<FILE, CFileCloser> m_pLogFile;
    DownloadProgressCallback m_pfnProgress = nullptr;
    std::atomic<bool> m_bCancelRequested = false;
    std::vector<COMPLETED_SECTION_INFO> m_CompletedAreas;  // guarded by the access lock
    std::vector<std::string> m_RecentLogLines;
    std::unique_ptr<CByteBuffer> m_pUartTxPrefix;
};

// The standard download, which the download thread runs in Vintor mode: reset, minidriver, erase,
// write, verify, launch. DLSectorEraseMode, DLWriteVerifyMode and the overrides decide which.
// Always 0: the outcome is the downloader's state and error. The downloader only declares it: the
// sequence is built on top of the downloader.
unsigned int VintorDownloadingFunction(CChipDownloader* downloader);
