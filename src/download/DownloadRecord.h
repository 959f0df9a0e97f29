#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "download/CompletedSectionInfo.h"
#include "download/DownloadLog.h"
#include "download/DownloadStates.h"
#include "download/RunObserver.h"
#include "os/FairMutex.h"
#include "os/LockGuard.h"
#include "os/OSMutex.h"
#include "os/TimeLimit.h"

class CLineObserver;

// Runs on the download thread, while that thread may hold the access lock: it must not take it.
using DownloadProgressCallback = unsigned int (*)(unsigned int downloadedBytes,
                                                  unsigned int verifiedBytes, DownloadStates state,
                                                  const char* text);

// What is known about a run: state, byte counters, block in hand, status details, error, log and
// filled areas. The download thread writes it through the procedures; the caller's thread polls it.
//
// State, counters, block and cancel request are atomics: any thread may read them at any time.
// Under the access lock they belong together, because the procedures hold it for one step and a
// poller for one poll. Lock order: access lock, then details lock. Log, error text and callback
// have no lock: they belong to the caller until the download thread starts, then to that thread,
// and to the caller again once it has read a final state. After a cancel the thread may still be in
// a step; then they are the caller's only once the thread has ended.
//
// The first final state (completed, error, canceled) stands until the next preparation.
class CDownloadRecord {
public:
    CDownloadRecord();
    CDownloadRecord(const CDownloadRecord&) = delete;
    CDownloadRecord& operator=(const CDownloadRecord&) = delete;

    // Forgets the filled areas and opens the log, unless the name is empty.
    void BeginPreparation(const char* logFileName) HCILOAD_EXCLUDES(m_AccessLock);
    // Both leave even a final state. Success is not reported to the callback.
    void EndPreparation(unsigned int codeTotal, unsigned int dataTotal);
    void FailPreparation(const std::string& error);
    // Gets changes of state and errors as notes. May be null; set before any of them.
    void SetObserver(CLineObserver* observer) { m_pObserver = observer; }
    // Set before the preparation.
    void SetRunObserver(CRunObserver& observer) { m_pRunObserver = &observer; }
    // May be null.
    void SetProgressCallback(DownloadProgressCallback callback) { m_pfnProgress = callback; }

    // For the procedures.
    CRunObserver& RunObserver() { return *m_pRunObserver; }
    // Returns the phase until now.
    DownloadPhases ChangePhase(DownloadPhases phase);
    void SetState(DownloadStates state);
    // Returns what the callback returned, or 0 without one.
    unsigned int ReportProgress(const char* text);
    unsigned int ReportProgress(const std::string& text) { return ReportProgress(text.c_str()); }
    void IncrementDownloadByteCounter(bool isCode, unsigned int count) {
        m_Downloaded.Add(isCode, count);
    }
    void IncrementVerifyByteCounter(bool isCode, unsigned int count) {
        m_Verified.Add(isCode, count);
    }
    void UpdateLoadingBlockInfo(unsigned int address, int size, int position, bool isCode);
    void ClearLoadingBlockInfo();
    void RecordCompletedMemSegment(unsigned int startAddress, unsigned int byteCount, bool isCode)
        HCILOAD_REQUIRES(m_AccessLock);
    // A text equal to the last one is ignored.
    void SetStatusDetails(const std::string& text) HCILOAD_EXCLUDES(m_DetailsLock);
    void SetStatusDetails(const char* text) { SetStatusDetails(std::string(text)); }
    void AddLogText(const std::string& text) { m_Log.Write("  " + text); }
    void AddLogText(const char* text) { AddLogText(std::string(text)); }
    // Ends the download. A second error replaces the text of the first.
    void SetError(const std::string& text);
    void SetError(const char* text) { SetError(std::string(text)); }
    // Whether a cancel request has ended the download.
    bool IsCanceled() { return !IsRunning() && m_State == DOWNLOAD_CANCELED; }

    // For any thread.
    // The first call after a cancel request turns a running download into a canceled one.
    bool IsRunning();
    void RequestCancel() { m_bCancelRequested = true; }
    // The lock goes to those who wait in the order in which they came.
    bool LockForAccess() HCILOAD_ACQUIRE(m_AccessLock) {
        return m_AccessLock.WaitToLock(NO_TIME_LIMIT);
    }
    void UnlockAccess() HCILOAD_RELEASE(m_AccessLock) { m_AccessLock.Unlock(); }
    CFairMutex& AccessLock() HCILOAD_RETURN_CAPABILITY(m_AccessLock) { return m_AccessLock; }

    // For the poller. Outputs may be null unless said.
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
    const std::vector<COMPLETED_SECTION_INFO>* GetCompletedMemSegmentList() const
        HCILOAD_REQUIRES(m_AccessLock) {
        return &m_CompletedAreas;
    }
    // Hands out each status detail once, in order; returns how many.
    unsigned int GetAllRecentDetails(std::vector<std::string>& out) HCILOAD_EXCLUDES(m_DetailsLock);
    // The lines written to the log since the last call.
    void GetMostRecentLogLines(std::string* out) { *out = m_Log.TakeRecentLines(); }

private:
    struct CByteCounts {
        void Add(bool isCode, unsigned int count) { (isCode ? m_nCode : m_nData) += count; }
        // Outputs may be null.
        void Get(const CByteCounts& total, unsigned int* code, unsigned int* data,
                 float* codePercent, float* dataPercent) const;

        std::atomic<unsigned int> m_nCode = 0;
        std::atomic<unsigned int> m_nData = 0;
    };

    void Note(const std::string& text);
    bool ChangeState(DownloadStates* seen, DownloadStates next);
    void EnterState(DownloadStates next);
    void LeaveFinalState(DownloadStates next);

    std::atomic<DownloadStates> m_State = DOWNLOAD_UNINITIALIZED;
    std::atomic<bool> m_bCancelRequested = false;
    CByteCounts m_Total;
    CByteCounts m_Downloaded;
    CByteCounts m_Verified;
    std::atomic<unsigned int> m_nBlockAddress = 0;
    std::atomic<int> m_nBlockSize = -1;
    std::atomic<int> m_nBlockPosition = -1;
    std::atomic<bool> m_bBlockIsCode = false;
    CFairMutex m_AccessLock;
    std::vector<COMPLETED_SECTION_INFO> m_CompletedAreas HCILOAD_GUARDED_BY(m_AccessLock);
    COSMutex m_DetailsLock;
    std::string m_strCurrentStatusDetail HCILOAD_GUARDED_BY(m_DetailsLock);
    std::vector<std::string> m_RecentDetails HCILOAD_GUARDED_BY(m_DetailsLock);
    CDownloadLog m_Log;
    std::string m_strErrorDescription;
    DownloadProgressCallback m_pfnProgress = nullptr;
    CLineObserver* m_pObserver = nullptr;
    CRunObserver m_NoRunObserver;
    CRunObserver* m_pRunObserver = &m_NoRunObserver;
    DownloadPhases m_Phase = PHASE_NONE;
};

// Puts a run into a phase for a scope.
class CPhaseScope {
public:
    CPhaseScope(CDownloadRecord& record, DownloadPhases phase)
        : m_Record(record), m_Previous(record.ChangePhase(phase)) {}
    ~CPhaseScope() { m_Record.ChangePhase(m_Previous); }
    CPhaseScope(const CPhaseScope&) = delete;
    CPhaseScope& operator=(const CPhaseScope&) = delete;

private:
    CDownloadRecord& m_Record;
    DownloadPhases m_Previous;
};
