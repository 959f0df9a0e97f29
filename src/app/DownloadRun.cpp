#include "app/DownloadRun.h"

#include <cstdio>
#include <vector>

#include "download/ChipDownloader.h"
#include "os/OSTime.h"
#include "util/Wrap32.h"

unsigned int PROGRESS_REPORT_INTERVAL_MS = 1000;

namespace {

// The figures of one poll.
struct CProgress {
    DownloadStates m_State = DOWNLOAD_UNINITIALIZED;
    unsigned int m_nCodeDownloaded = 0;
    unsigned int m_nDataDownloaded = 0;
    float m_CodePercent = 0;
    float m_DataPercent = 0;
    unsigned int m_nCodeVerified = 0;
    unsigned int m_nDataVerified = 0;
    float m_CodeVerifiedPercent = 0;
    float m_DataVerifiedPercent = 0;
};

CProgress ReadProgress(const CChipDownloader& downloader) {
    CProgress progress;
    unsigned int codeTotal = 0;
    unsigned int dataTotal = 0;
    progress.m_State = downloader.GetStatus(nullptr, nullptr, nullptr, nullptr);
    downloader.GetDownloadAmount(&codeTotal, &dataTotal, &progress.m_nCodeDownloaded,
                                 &progress.m_nDataDownloaded, &progress.m_CodePercent,
                                 &progress.m_DataPercent);
    downloader.GetVerifiedAmount(&progress.m_nCodeVerified, &progress.m_nDataVerified,
                                 &progress.m_CodeVerifiedPercent, &progress.m_DataVerifiedPercent);
    return progress;
}

void PrintRecentDetails(CChipDownloader& downloader) {
    std::vector<std::string> details;
    downloader.GetAllRecentDetails(details);
    for (const std::string& detail : details) {
        std::printf("%s\n", detail.c_str());
    }
}

// The blanks before "Current state" are two, three and three: scripts that read these lines count
// on them.
void PrintProgressLine(const CProgress& p) {
    const std::string state = CChipDownloader::GetStateName(p.m_State);
    const auto codeDownloaded = static_cast<int>(p.m_nCodeDownloaded);
    const auto dataDownloaded = static_cast<int>(p.m_nDataDownloaded);
    const auto codeVerified = static_cast<int>(p.m_nCodeVerified);
    const auto dataVerified = static_cast<int>(p.m_nDataVerified);
    switch (p.m_State) {
        case DOWNLOAD_LOADING_CODE:
        case DOWNLOAD_LOADING_DATA:
            std::printf(
                "Downloaded %d code bytes (%4.1f%%) and %d data bytes (%4.1f%%).  Current state: "
                "%s\n",
                codeDownloaded, p.m_CodePercent, dataDownloaded, p.m_DataPercent, state.c_str());
            break;
        case DOWNLOAD_VERIFYING_CODE:
        case DOWNLOAD_VERIFYING_DATA:
            std::printf(
                "Verified %d code bytes (%4.1f%%) and %d data bytes (%4.1f%%).   Current state: "
                "%s\n",
                codeVerified, p.m_CodeVerifiedPercent, dataVerified, p.m_DataVerifiedPercent,
                state.c_str());
            break;
        default:
            std::printf(
                "Downloaded %d code bytes (%4.1f%%) and %d data bytes (%4.1f%%). Verified %d code "
                "bytes (%4.1f%%) and %d data bytes (%4.1f%%).   Current state: %s\n",
                codeDownloaded, p.m_CodePercent, dataDownloaded, p.m_DataPercent, codeVerified,
                p.m_CodeVerifiedPercent, dataVerified, p.m_DataVerifiedPercent, state.c_str());
            break;
    }
}

// One poll; returns the state that it saw.
DownloadStates PollAndPrint(CChipDownloader& downloader) {
    const CLockGuard access(downloader.AccessLock());
    const CProgress progress = ReadProgress(downloader);
    PrintRecentDetails(downloader);
    PrintProgressLine(progress);
    // Whoever reads through a pipe gets the line when it is due.
    std::fflush(stdout);
    return progress.m_State;
}

DownloadStates PollUntilFinal(CChipDownloader& downloader) {
    DownloadStates state = DOWNLOAD_UNINITIALIZED;
    do {
        PutThreadToSleep(PROGRESS_REPORT_INTERVAL_MS);
        state = PollAndPrint(downloader);
    } while (!IsFinalState(state));
    return state;
}

void PrintFilledAreas(CChipDownloader& downloader) {
    const CLockGuard access(downloader.AccessLock());
    const std::vector<COMPLETED_SECTION_INFO>& areas = *downloader.GetCompletedMemSegmentList();
    if (areas.empty()) {
        return;
    }
    std::printf("\n\nA total of %d contiguous memory areas were filled:\n",
                static_cast<int>(areas.size()));
    for (const COMPLETED_SECTION_INFO& area : areas) {
        std::printf("[%08X..%08X] %s (%0d bytes)\n", area.m_nStartAddress,
                    WrappingSubtract(WrappingAdd(area.m_nStartAddress, area.m_nByteCount), 1),
                    area.m_bIsCode ? "CODE" : "DATA", static_cast<int>(area.m_nByteCount));
    }
    std::fflush(stdout);
}

}  // namespace

std::string PerformDownload(CChipImageLoadingInformation& info, CSerialConnector* connector) {
    if (connector == nullptr) {
        return "ERROR in PerformDownload: NULL Connector!";
    }
    CChipDownloader downloader(info, connector);
    std::string error = downloader.PrepareForDownload();
    if (error.empty()) {
        // A thread that could not be started shows up as the error of the first poll.
        downloader.StartDownload(nullptr);
        if (PollUntilFinal(downloader) == DOWNLOAD_TERMINATED_WITH_ERROR) {
            error = downloader.GetErrorDescription();
        }
    }
    PrintFilledAreas(downloader);
    return error;
}

std::string PerformDownloadWithCallback(CChipImageLoadingInformation& info,
                                        CSerialConnector* connector) {
    if (connector == nullptr) {
        return "ERROR in PerformDownloadWithCallback: NULL Connector!";
    }
    CChipDownloader downloader(info, connector);
    std::string error = downloader.PrepareForDownload();
    if (error.empty()) {
        downloader.StartDownload(CallbackDownloadProgress);
        do {
            PutThreadToSleep(PROGRESS_REPORT_INTERVAL_MS);
        } while (downloader.IsRunning());
    }
    return error;
}

unsigned int CallbackDownloadProgress(unsigned int downloaded, unsigned int verified,
                                      DownloadStates state, const char* text) {
    std::printf("Downloaded %d bytes.  Verified %d bytes.    Current state: %s    %s\n",
                static_cast<int>(downloaded), static_cast<int>(verified),
                CChipDownloader::GetStateName(state).c_str(), text == nullptr ? "" : text);
    return 0;
}

double SecondsBetween(unsigned int earlierMS, unsigned int laterMS) {
    return WrappingSubtract(laterMS, earlierMS) / 1000.0;
}
