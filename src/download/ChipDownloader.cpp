#include "download/ChipDownloader.h"

#include <cstring>
#include <iterator>

#include "download/HciTrace.h"
#include "os/OSTime.h"
#include "os/TimeLimit.h"
#include "transport/SerialConnector.h"
#include "util/DateTimeHolder.h"
#include "util/FormatText.h"

// The procedures use the downloader, so their header cannot be included here.
CCustomDownloadAssistant* MakeCustomDownloadAssistant(const char* type,
                                                      CChipImageLoadingInformation* owner);

namespace {

constexpr std::size_t RESERVED_DETAILS = 32768;
constexpr std::size_t LOG_LINE_SIZE = 2048;

std::string TimeStamp() {
    dth now;
    GetCurrentOSTime(&now);
    return CDateTimeHolder(now).AsText();
}

float Percentage(unsigned int part, unsigned int total) {
    return total == 0 ? 0.0F : static_cast<float>(part * 100.0 / total);
}

template <typename T, typename U>
void StoreIfWanted(T* output, U value) {
    if (output != nullptr) {
        *output = value;
    }
}

}  // namespace

CChipDownloader::CChipDownloader(const CChipImageLoadingInformation& info,
                                 CSerialConnector* connector)
    : m_LoadingInformation(info), m_pConnector(connector) {
    m_RecentDetails.reserve(RESERVED_DETAILS);
    const CCommunicationParameters* parameters =
        connector == nullptr ? nullptr : connector->GetConnectionParameters();
    if (parameters != nullptr && parameters->GetPortType() == PORT_TYPE_UART) {
        static_assert(sizeof arUartTxPrefix == 1);
        m_pUartTxPrefix = std::make_unique<CByteBuffer>(1U, arUartTxPrefix[0]);
    }
}

CChipDownloader::CChipDownloader(const char* minidriverFile, const char* configFile,
                                 const char* firmwareFile, CSerialConnector* connector)
    : CChipDownloader(CChipImageLoadingInformation(minidriverFile, configFile, firmwareFile),
                      connector) {}

CChipDownloader::~CChipDownloader() {
    EndDownloadThread();
    CloseLogFile();
}

// Whatever the thread uses may go or change only when the thread is done.
void CChipDownloader::EndDownloadThread() {
    if (m_pDownloadThread != nullptr) {
        m_pDownloadThread->TerminateThread();
        m_pDownloadThread->WaitUntilDone();
    }
}

std::string CChipDownloader::PrepareForDownload() {
    m_CompletedAreas.clear();
    OpenLogFile();
    m_LoadingInformation.SetCustomDownloadAssistantMaker(&MakeCustomDownloadAssistant);
    std::string error = m_LoadingInformation.PrepareToLoad(this);
    if (error.empty() && m_LoadingInformation.IsVintorMode()) {
        error = VintorDownloadFinalPreparations();
    }
    if (!error.empty()) {
        // A downloader may be prepared again after a download that has come to its end.
        m_State = DOWNLOAD_TERMINATED_WITH_ERROR;
        SetError(error);
        return error;
    }
    m_nCodeBytesTotal = AddUpChunkSizes("FIRMWARE");
    m_nDataBytesTotal = AddUpChunkSizes("CONFIG");
    m_State = DOWNLOAD_INITIALIZED;
    LogPreparedDownload();
    return {};
}

void CChipDownloader::OpenLogFile() {
    const char* name = m_LoadingInformation.GetDescriptor().GetLogFileName();
    if (*name == '\0') {
        return;
    }
    CloseLogFile();
    // A log that cannot be opened is no error: the download goes on without one.
    m_pLogFile.reset(std::fopen(name, "wt"));
    if (m_pLogFile != nullptr) {
        // A line that was written is in the file, whatever happens to the process next.
        std::setvbuf(m_pLogFile.get(), nullptr, _IOLBF, BUFSIZ);
    }
    fDebugPrint = m_pLogFile.get();
}

void CChipDownloader::CloseLogFile() {
    FILE* ours = m_pLogFile.get();
    if (ours != nullptr) {
        fDebugPrint.compare_exchange_strong(ours, nullptr);
    }
    m_pLogFile.reset();
}

void CChipDownloader::LogPreparedDownload() {
    const CChipDownloadDescriptor& descriptor = m_LoadingInformation.GetDescriptor();
    std::string summary = FormatText("Will be downloading %0d bytes of code and %0d bytes of data",
                                     static_cast<int>(m_nCodeBytesTotal.load()),
                                     static_cast<int>(m_nDataBytesTotal.load()));
    summary += descriptor.CountMinidriverFiles() > 0
                   ? " using minidriver " + descriptor.GetMinidriverFile(0)
                   : " without a minidriver";
    AddLogText(summary);

    const char* vnpFile = m_LoadingInformation.GetVnpFileNameIfSpecified();
    AddLogText(vnpFile == nullptr ? "No VNP file specified" : std::string("VNP file: ") + vnpFile);
    const char* customType = m_LoadingInformation.GetCustomDLTypeIfSpecified();
    if (customType != nullptr) {
        AddLogText(std::string("Custom download type: ") + customType);
    }
    LogFileNames("The firmware is coming from the following files", descriptor.CountFirmwareFiles(),
                 &CChipDownloadDescriptor::GetFirmwareFile);
    LogFileNames("The config data is coming from the following files",
                 descriptor.CountConfigDataFiles(), &CChipDownloadDescriptor::GetConfigDataFile);
}

void CChipDownloader::LogFileNames(const char* heading, unsigned int count,
                                   std::string (CChipDownloadDescriptor::*name)(unsigned int)
                                       const) {
    if (count > 0) {
        AddLogText(heading);
    }
    for (unsigned int i = 0; i < count; ++i) {
        AddLogText((m_LoadingInformation.GetDescriptor().*name)(i));
    }
}

std::string CChipDownloader::StartDownload(DownloadProgressCallback callback) {
    EndDownloadThread();
    m_pfnProgress = callback;
    m_pDownloadThread = std::make_unique<COSExecutionThread>(DownloadingThread, this);
    if (m_pDownloadThread->RunThread() != 0) {
        std::string error =
            std::string("CChipDownloader::StartDownload failed to start download thread! ") +
            m_pDownloadThread->Description();
        SetError(error);
        return error;
    }
    // So that the thread is under way when the caller starts polling.
    PutThreadToSleep(500);
    return {};
}

unsigned int CChipDownloader::DownloadingThread(CExecutionThread* thread) {
    // A download is thousands of short sleeps, one for each record at least.
    SharpenSleepsOfThisThread();
    auto* downloader = static_cast<CChipDownloader*>(thread->GetContext());
    const CChipImageLoadingInformation& info = *downloader->DownloadInfo();
    if (CCustomDownloadAssistant* assistant = info.GetCustomDownloader()) {
        return assistant->ExecuteDownload(downloader);
    }
    if (info.IsVintorMode()) {
        return VintorDownloadingFunction(downloader);
    }
    return 0;
}

std::string CChipDownloader::CancelDownload(int timeoutMs) {
    if (!IsRunning()) {
        return "Not running!";
    }
    m_bCancelRequested = true;
    // The first IsRunning after the request says no already, so nothing is waited for and the text
    // is never seen; both are kept for the day when a state goes on in spite of a request.
    if (timeoutMs > 0) {
        const unsigned int deadline = GetCurrentOSTimeMS() + static_cast<unsigned int>(timeoutMs);
        while (IsRunning() && GetCurrentOSTimeMS() <= deadline) {
            PutThreadToSleep(500);
        }
        if (IsRunning()) {
            return "CANCEL ERROR: Timed out waiting to for the download to stop";
        }
    }
    return {};
}

bool CChipDownloader::IsRunning() {
    DownloadStates state = m_State;
    while (IsRunningState(state)) {
        if (!m_bCancelRequested) {
            return true;
        }
        // Without a callback; and only from the state just seen, so that a download that ended in
        // this very moment keeps its outcome.
        if (m_State.compare_exchange_weak(state, DOWNLOAD_CANCELED)) {
            return false;
        }
    }
    return false;
}

bool CChipDownloader::IsCanceled() {
    return !IsRunning() && m_State == DOWNLOAD_CANCELED;
}

bool CChipDownloader::LockForAccess() {
    return m_AccessLock.WaitToLock(NO_TIME_LIMIT);
}

void CChipDownloader::UnlockAccess() {
    m_AccessLock.Unlock();
}

void CChipDownloader::SetState(DownloadStates state) {
    EnterState(state);
    ReportProgress(nullptr);
}

void CChipDownloader::EnterState(DownloadStates next) {
    DownloadStates state = m_State;
    while (!IsFinalState(state) && !m_State.compare_exchange_weak(state, next)) {
    }
}

unsigned int CChipDownloader::ReportProgress(const char* text) {
    if (m_pfnProgress == nullptr) {
        return 0;
    }
    return m_pfnProgress(m_nDataBytesDownloaded + m_nCodeBytesDownloaded,
                         m_nDataBytesVerified + m_nCodeBytesVerified, m_State, text);
}

void CChipDownloader::IncrementDownloadByteCounter(bool isCode, unsigned int count) {
    (isCode ? m_nCodeBytesDownloaded : m_nDataBytesDownloaded) += count;
}

void CChipDownloader::IncrementVerifyByteCounter(bool isCode, unsigned int count) {
    (isCode ? m_nCodeBytesVerified : m_nDataBytesVerified) += count;
}

void CChipDownloader::UpdateLoadingBlockInfo(unsigned int address, int size, int position,
                                             bool isCode) {
    m_nBlockAddress = address;
    m_nBlockSize = size;
    m_nBlockPosition = position;
    m_bBlockIsCode = isCode;
}

void CChipDownloader::ClearLoadingBlockInfo() {
    m_nBlockAddress = 0;
    m_nBlockSize = -1;
    m_nBlockPosition = -1;
}

bool CChipDownloader::GetCurrentDownloadBlockInfo(unsigned int* address, int* size, int* position,
                                                  bool* isCode) const {
    *address = m_nBlockAddress;
    *size = m_nBlockSize;
    *position = m_nBlockPosition;
    *isCode = m_bBlockIsCode;
    return *isCode;
}

void CChipDownloader::RecordCompletedMemSegment(unsigned int startAddress, unsigned int byteCount,
                                                bool isCode) {
    m_CompletedAreas.emplace_back(startAddress, byteCount, isCode);
}

void CChipDownloader::SetStatusDetails(const char* text) {
    {
        CLockGuard lock(m_DetailsLock);
        if (m_strCurrentStatusDetail == text) {
            return;
        }
        m_strCurrentStatusDetail = text;
        m_RecentDetails.emplace_back(text);
    }
    // The callback hears of details only while a log is open, on purpose: pollers fetch the details
    // by themselves, errors reach the callback always.
    if (m_pLogFile == nullptr) {
        return;
    }
    const std::string stamp = TimeStamp();
    std::string line = stamp + " ";
    std::size_t length = std::strlen(text);
    if (length + stamp.size() + 1 > LOG_LINE_SIZE) {
        length = LOG_LINE_SIZE - 1 - line.size();
    }
    line.append(text, length);
    WriteLogLine(std::move(line));
    ReportProgress(text);
}

void CChipDownloader::AddLogText(const char* text) {
    if (m_pLogFile != nullptr) {
        WriteLogLine(TimeStamp() + "  " + text);
    }
}

void CChipDownloader::SetError(const char* text) {
    // The text and the log line stand before the state says that there is one.
    m_strErrorDescription = text;
    if (m_pLogFile != nullptr) {
        WriteLogLine(TimeStamp() + " ERROR: " + text);
    }
    EnterState(DOWNLOAD_TERMINATED_WITH_ERROR);
    ReportProgress(text);
}

void CChipDownloader::WriteLogLine(std::string line) {
    std::fprintf(m_pLogFile.get(), "%s\n", line.c_str());
    m_RecentLogLines.push_back(std::move(line));
}

DownloadStates CChipDownloader::GetStatus(unsigned int* codeDownloaded,
                                          unsigned int* dataDownloaded, unsigned int* codeVerified,
                                          unsigned int* dataVerified) const {
    StoreIfWanted(codeDownloaded, m_nCodeBytesDownloaded.load());
    StoreIfWanted(dataDownloaded, m_nDataBytesDownloaded.load());
    StoreIfWanted(codeVerified, m_nCodeBytesVerified.load());
    StoreIfWanted(dataVerified, m_nDataBytesVerified.load());
    return m_State;
}

void CChipDownloader::GetDownloadAmount(unsigned int* codeTotal, unsigned int* dataTotal,
                                        unsigned int* codeDownloaded, unsigned int* dataDownloaded,
                                        float* codePercent, float* dataPercent) const {
    *codeTotal = m_nCodeBytesTotal;
    *dataTotal = m_nDataBytesTotal;
    const unsigned int code = m_nCodeBytesDownloaded;
    const unsigned int data = m_nDataBytesDownloaded;
    StoreIfWanted(codeDownloaded, code);
    StoreIfWanted(dataDownloaded, data);
    StoreIfWanted(codePercent, Percentage(code, *codeTotal));
    StoreIfWanted(dataPercent, Percentage(data, *dataTotal));
}

void CChipDownloader::GetVerifiedAmount(unsigned int* codeVerified, unsigned int* dataVerified,
                                        float* codePercent, float* dataPercent) const {
    const unsigned int code = m_nCodeBytesVerified;
    const unsigned int data = m_nDataBytesVerified;
    StoreIfWanted(codeVerified, code);
    StoreIfWanted(dataVerified, data);
    StoreIfWanted(codePercent, Percentage(code, m_nCodeBytesTotal));
    StoreIfWanted(dataPercent, Percentage(data, m_nDataBytesTotal));
}

std::string CChipDownloader::GetStateName(DownloadStates state) {
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

unsigned int CChipDownloader::GetAllRecentDetails(std::vector<std::string>& out) {
    CLockGuard lock(m_DetailsLock);
    // Moved out, the list keeps its room: the download thread appends without allocating it anew.
    out.assign(std::make_move_iterator(m_RecentDetails.begin()),
               std::make_move_iterator(m_RecentDetails.end()));
    m_RecentDetails.clear();
    return static_cast<unsigned int>(out.size());
}

void CChipDownloader::GetMostRecentLogLines(std::string* out) {
    out->clear();
    for (const std::string& line : m_RecentLogLines) {
        *out += line + "\n";
    }
    m_RecentLogLines.clear();
}

unsigned int CChipDownloader::AddUpChunkSizes(const char* kind) const {
    unsigned int total = 0;
    unsigned int index = m_LoadingInformation.FindNextDataChunk(nullptr, kind, 0);
    while (index != CChipImageLoadingInformation::NO_CHUNK) {
        total += m_LoadingInformation.GetChunk(index).GetTotalByteSize();
        index = m_LoadingInformation.FindNextDataChunk(nullptr, kind, index + 1);
    }
    return total;
}
