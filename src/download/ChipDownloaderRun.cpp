#include "download/ChipDownloader.h"
#include "download/CustomDownloadFactory.h"
#include "download/VintorDownload.h"
#include "image/MemoryReadout.h"
#include "os/OSTime.h"
#include "transport/SerialConnector.h"
#include "util/FormatText.h"

namespace {

void LogFileNames(CChipDownloader& downloader, const char* heading, unsigned int count,
                  std::string (CChipDownloadDescriptor::*name)(unsigned int) const) {
    if (count > 0) {
        downloader.AddLogText(heading);
    }
    for (unsigned int i = 0; i < count; ++i) {
        downloader.AddLogText((downloader.DownloadInfo()->GetDescriptor().*name)(i));
    }
}

void LogRequest(CChipDownloader& downloader, unsigned int codeTotal, unsigned int dataTotal) {
    const CChipImageLoadingInformation& info = *downloader.DownloadInfo();
    const CChipDownloadDescriptor& files = info.GetDescriptor();
    const std::string what =
        info.GetReadout() == nullptr
            ? FormatText("Will be downloading %0d bytes of code and %0d bytes of data",
                         static_cast<int>(codeTotal), static_cast<int>(dataTotal))
            : FormatText("Will be reading %u bytes of memory", codeTotal);
    downloader.AddLogText(what + (files.CountMinidriverFiles() > 0
                                      ? " using minidriver " + files.GetMinidriverFile(0)
                                      : " without a minidriver"));
    const char* vnpFile = info.GetVnpFileNameIfSpecified();
    downloader.AddLogText(vnpFile == nullptr ? "No VNP file specified"
                                             : std::string("VNP file: ") + vnpFile);
    if (const char* customType = info.GetCustomDLTypeIfSpecified()) {
        downloader.AddLogText(std::string("Custom download type: ") + customType);
    }
    LogFileNames(downloader, "The firmware is coming from the following files",
                 files.CountFirmwareFiles(), &CChipDownloadDescriptor::GetFirmwareFile);
    LogFileNames(downloader, "The config data is coming from the following files",
                 files.CountConfigDataFiles(), &CChipDownloadDescriptor::GetConfigDataFile);
}

}  // namespace

CChipDownloader::CChipDownloader(const CChipImageLoadingInformation& info,
                                 CSerialConnector* connector)
    : m_LoadingInformation(info), m_pConnector(connector) {
    m_LoadingInformation.SetCustomDownloadAssistantMaker(MakeCustomDownloadAssistant);
    if (connector == nullptr) {
        return;
    }
    SetObserver(connector->GetObserver());
    const CCommunicationParameters* parameters = connector->GetConnectionParameters();
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
}

// The thread must be done before anything that it uses is changed or destroyed.
void CChipDownloader::EndDownloadThread() {
    if (m_pDownloadThread != nullptr) {
        m_pDownloadThread->TerminateThread();
        m_pDownloadThread->WaitUntilDone();
    }
}

std::string CChipDownloader::PrepareForDownload() {
    BeginPreparation(m_LoadingInformation.GetDescriptor().GetLogFileName());
    std::string error = m_LoadingInformation.PrepareToLoad(this);
    RunObserver().FilesRead(m_LoadingInformation);
    if (error.empty() && m_LoadingInformation.IsVintorMode()) {
        error = VintorDownloadFinalPreparations();
    }
    if (!error.empty()) {
        FailPreparation(error);
        return error;
    }
    const CMemoryReadout* const readout = m_LoadingInformation.GetReadout();
    const unsigned int codeTotal =
        readout == nullptr ? AddUpChunkSizes("FIRMWARE") : readout->CountBytesToRead();
    const unsigned int dataTotal = AddUpChunkSizes("CONFIG");
    EndPreparation(codeTotal, dataTotal);
    LogRequest(*this, codeTotal, dataTotal);
    return {};
}

std::string CChipDownloader::StartDownload(DownloadProgressCallback callback) {
    EndDownloadThread();
    SetProgressCallback(callback);
    m_pDownloadThread = std::make_unique<COSExecutionThread>(DownloadingThread, this);
    if (m_pDownloadThread->RunThread() != 0) {
        std::string error = "CChipDownloader::StartDownload failed to start download thread! " +
                            std::string(m_pDownloadThread->Description());
        SetError(error);
        return error;
    }
    // Lets the thread get going before the caller polls.
    PutThreadToSleep(500);
    return {};
}

unsigned int CChipDownloader::DownloadingThread(CExecutionThread* thread) {
    // Each record takes a few short sleeps: precise ones make a download faster.
    SharpenSleepsOfThisThread();
    auto* downloader = static_cast<CChipDownloader*>(thread->GetContext());
    const CChipImageLoadingInformation& info = *downloader->DownloadInfo();
    if (CCustomDownloadAssistant* assistant = info.GetCustomDownloader()) {
        return assistant->ExecuteDownload(downloader);
    }
    return info.IsVintorMode() ? VintorDownloadingFunction(downloader) : 0;
}
