#include "download/DownloadRecord.h"

#include <iterator>
#include <utility>

#include "transport/LineObserver.h"
#include "util/FormatText.h"

namespace {

constexpr std::size_t RESERVED_DETAILS = 32768;
// A status detail in the log stems from a buffer of 2048 bytes with its terminator.
constexpr std::size_t MAX_DETAIL_LINE = 2047;

float Percentage(unsigned int part, unsigned int total) {
    return total == 0 ? 0.0F : static_cast<float>(part * 100.0 / total);
}

template <typename T>
void StoreIfWanted(T* output, T value) {
    if (output != nullptr) {
        *output = value;
    }
}

}  // namespace

CDownloadRecord::CDownloadRecord() {
    m_RecentDetails.reserve(RESERVED_DETAILS);
}

void CDownloadRecord::BeginPreparation(const char* logFileName) {
    {
        const CLockGuard access(m_AccessLock);
        m_CompletedAreas.clear();
    }
    if (*logFileName != '\0') {
        m_Log.Open(logFileName);
    }
}

void CDownloadRecord::EndPreparation(unsigned int codeTotal, unsigned int dataTotal) {
    m_Total.m_nCode = codeTotal;
    m_Total.m_nData = dataTotal;
    LeaveFinalState(DOWNLOAD_INITIALIZED);
}

void CDownloadRecord::FailPreparation(const std::string& error) {
    LeaveFinalState(DOWNLOAD_TERMINATED_WITH_ERROR);
    SetError(error);
}

void CDownloadRecord::Note(const std::string& text) {
    if (m_pObserver != nullptr) {
        m_pObserver->Note(text);
    }
}

// Every change of state passes here. False: *seen was out of date and now is the current state.
bool CDownloadRecord::ChangeState(DownloadStates* seen, DownloadStates next) {
    if (!m_State.compare_exchange_weak(*seen, next)) {
        return false;
    }
    if (*seen != next) {
        Note(GetStateName(next));
        m_pRunObserver->StateChanged(next);
    }
    return true;
}

void CDownloadRecord::EnterState(DownloadStates next) {
    DownloadStates state = m_State;
    while (!IsFinalState(state) && !ChangeState(&state, next)) {
    }
}

void CDownloadRecord::LeaveFinalState(DownloadStates next) {
    DownloadStates state = m_State;
    while (!ChangeState(&state, next)) {
    }
}

DownloadPhases CDownloadRecord::ChangePhase(DownloadPhases phase) {
    m_pRunObserver->PhaseChanged(phase);
    return std::exchange(m_Phase, phase);
}

void CDownloadRecord::SetState(DownloadStates state) {
    EnterState(state);
    ReportProgress(nullptr);
}

bool CDownloadRecord::IsRunning() {
    DownloadStates state = m_State;
    while (IsRunningState(state)) {
        if (!m_bCancelRequested) {
            return true;
        }
        // Only from the state just seen: a download that ends right now keeps its outcome. Without
        // a callback, since any thread may ask.
        if (ChangeState(&state, DOWNLOAD_CANCELED)) {
            return false;
        }
    }
    return false;
}

unsigned int CDownloadRecord::ReportProgress(const char* text) {
    if (m_pfnProgress == nullptr) {
        return 0;
    }
    return m_pfnProgress(m_Downloaded.m_nData + m_Downloaded.m_nCode,
                         m_Verified.m_nData + m_Verified.m_nCode, m_State, text);
}

void CDownloadRecord::UpdateLoadingBlockInfo(unsigned int address, int size, int position,
                                             bool isCode) {
    m_nBlockAddress = address;
    m_nBlockSize = size;
    m_nBlockPosition = position;
    m_bBlockIsCode = isCode;
}

void CDownloadRecord::ClearLoadingBlockInfo() {
    UpdateLoadingBlockInfo(0, -1, -1, m_bBlockIsCode);
}

bool CDownloadRecord::GetCurrentDownloadBlockInfo(unsigned int* address, int* size, int* position,
                                                  bool* isCode) const {
    *address = m_nBlockAddress;
    *size = m_nBlockSize;
    *position = m_nBlockPosition;
    *isCode = m_bBlockIsCode;
    return *isCode;
}

void CDownloadRecord::RecordCompletedMemSegment(unsigned int startAddress, unsigned int byteCount,
                                                bool isCode) {
    m_CompletedAreas.emplace_back(startAddress, byteCount, isCode);
}

void CDownloadRecord::SetStatusDetails(const std::string& text) {
    {
        const CLockGuard details(m_DetailsLock);
        if (m_strCurrentStatusDetail == text) {
            return;
        }
        m_strCurrentStatusDetail = text;
        m_RecentDetails.push_back(text);
    }
    // The callback hears of details only while a log is open: pollers fetch them anyway. Errors
    // always reach it.
    if (m_Log.IsOpen()) {
        m_Log.Write(" " + text, MAX_DETAIL_LINE);
        ReportProgress(text);
    }
}

void CDownloadRecord::SetError(const std::string& text) {
    // Whoever sees the state must find the text and the log line.
    m_strErrorDescription = text;
    m_Log.Write(" ERROR: " + text);
    Note(text);
    EnterState(DOWNLOAD_TERMINATED_WITH_ERROR);
    ReportProgress(text);
}

void CDownloadRecord::CByteCounts::Get(const CByteCounts& total, unsigned int* code,
                                       unsigned int* data, float* codePercent,
                                       float* dataPercent) const {
    const unsigned int codeNow = m_nCode;
    const unsigned int dataNow = m_nData;
    StoreIfWanted(code, codeNow);
    StoreIfWanted(data, dataNow);
    StoreIfWanted(codePercent, Percentage(codeNow, total.m_nCode));
    StoreIfWanted(dataPercent, Percentage(dataNow, total.m_nData));
}

DownloadStates CDownloadRecord::GetStatus(unsigned int* codeDownloaded,
                                          unsigned int* dataDownloaded, unsigned int* codeVerified,
                                          unsigned int* dataVerified) const {
    m_Downloaded.Get(m_Total, codeDownloaded, dataDownloaded, nullptr, nullptr);
    m_Verified.Get(m_Total, codeVerified, dataVerified, nullptr, nullptr);
    return m_State;
}

void CDownloadRecord::GetDownloadAmount(unsigned int* codeTotal, unsigned int* dataTotal,
                                        unsigned int* codeDownloaded, unsigned int* dataDownloaded,
                                        float* codePercent, float* dataPercent) const {
    *codeTotal = m_Total.m_nCode;
    *dataTotal = m_Total.m_nData;
    m_Downloaded.Get(m_Total, codeDownloaded, dataDownloaded, codePercent, dataPercent);
}

void CDownloadRecord::GetVerifiedAmount(unsigned int* codeVerified, unsigned int* dataVerified,
                                        float* codePercent, float* dataPercent) const {
    m_Verified.Get(m_Total, codeVerified, dataVerified, codePercent, dataPercent);
}

std::string CDownloadRecord::GetStateName(DownloadStates state) {
    static constexpr const char* NAMES[] = {
        "Uninitialized",
        "Initialized",
        "Executing -- loading minidriver",
        "Executing -- erasing chip",
        "Executing -- ready to download code or data",
        "Executing -- loading code",
        "Executing -- loading data",
        "Executing -- ready to verify code or data",
        "Executing -- verifying code",
        "Executing -- verifying data",
        "Completed successfully",
        "Terminated with error",
        "Canceled",
    };
    if (state < 0 || state >= static_cast<int>(std::size(NAMES))) {
        return FormatText(" INVALID STATE %d", static_cast<int>(state));
    }
    return NAMES[state];
}

unsigned int CDownloadRecord::GetAllRecentDetails(std::vector<std::string>& out) {
    const CLockGuard details(m_DetailsLock);
    // Moves the texts and keeps the list's memory, so that the download thread need not allocate.
    out.assign(std::make_move_iterator(m_RecentDetails.begin()),
               std::make_move_iterator(m_RecentDetails.end()));
    m_RecentDetails.clear();
    return static_cast<unsigned int>(out.size());
}
