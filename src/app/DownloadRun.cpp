#include "app/DownloadRun.h"

#include <cstdio>
#include <vector>

#include "app/Hints.h"
#include "app/StatusLine.h"
#include "download/ChipDownloader.h"
#include "os/OSTime.h"
#include "transport/SerialConnector.h"
#include "util/FormatText.h"
#include "util/Wrap32.h"

unsigned int PROGRESS_REPORT_INTERVAL_MS = 1000;

namespace {

std::string AmountText(const char* what, unsigned int code, float codePercent, unsigned int data,
                       float dataPercent) {
    return FormatText("%s %d code bytes (%4.1f%%) and %d data bytes (%4.1f%%).", what,
                      static_cast<int>(code), codePercent, static_cast<int>(data), dataPercent);
}

// Ends in two or three blanks, which scripts count on.
std::string ProgressText(const CChipDownloader& downloader, DownloadStates state) {
    unsigned int code = 0;
    unsigned int data = 0;
    unsigned int total = 0;
    float codePercent = 0;
    float dataPercent = 0;
    downloader.GetDownloadAmount(&total, &total, &code, &data, &codePercent, &dataPercent);
    const std::string downloaded = AmountText("Downloaded", code, codePercent, data, dataPercent);
    downloader.GetVerifiedAmount(&code, &data, &codePercent, &dataPercent);
    const std::string verified = AmountText("Verified", code, codePercent, data, dataPercent);
    switch (state) {
        case DOWNLOAD_LOADING_CODE:
        case DOWNLOAD_LOADING_DATA:
            return downloaded + "  ";
        case DOWNLOAD_VERIFYING_CODE:
        case DOWNLOAD_VERIFYING_DATA:
            return verified + "   ";
        default:
            return downloaded + " " + verified + "   ";
    }
}

// Then standard output is for what was read.
bool IsReadout(CChipDownloader& downloader) {
    return downloader.DownloadInfo()->GetReadout() != nullptr;
}

void PrintProgress(const std::vector<std::string>& details, const std::string& progress,
                   DownloadStates state) {
    CTerminal::EraseStatusLine();
    const CTerminal terminal(stdout);
    for (const std::string& detail : details) {
        std::printf("%s\n", terminal.Shown(detail).c_str());
    }
    std::printf("%sCurrent state: %s\n", progress.c_str(),
                CChipDownloader::GetStateName(state).c_str());
    // A reader of a pipe gets the line when it is due.
    std::fflush(stdout);
}

// One poll; returns the state that it saw. The state is read before the details, so that none can
// follow a final state.
DownloadStates PollAndPrint(CChipDownloader& downloader, CStatusLine& status) {
    const CLockGuard access(downloader.AccessLock());
    const DownloadStates state = downloader.GetStatus(nullptr, nullptr, nullptr, nullptr);
    std::vector<std::string> details;
    downloader.GetAllRecentDetails(details);
    if (!IsReadout(downloader)) {
        PrintProgress(details, ProgressText(downloader, state), state);
    }
    status.Draw(downloader, state);
    return state;
}

bool LoadsAnything(CChipDownloader& downloader) {
    const CChipImageLoadingInformation& info = *downloader.DownloadInfo();
    return info.IsVintorMode() || info.GetCustomDownloader() != nullptr;
}

// Returns the final state.
DownloadStates PollUntilDone(CChipDownloader& downloader) {
    const CCommunicationParameters* const line =
        downloader.SerialConnector()->GetConnectionParameters();
    CStatusLine status(line == nullptr ? "" : line->GetPortId());
    PutThreadToSleep(PROGRESS_REPORT_INTERVAL_MS);
    DownloadStates state = PollAndPrint(downloader, status);
    if (state == DOWNLOAD_INITIALIZED && !LoadsAnything(downloader)) {
        ShowHint(HINT_NOTHING_TO_LOAD);
    }
    while (!IsFinalState(state)) {
        PutThreadToSleep(PROGRESS_REPORT_INTERVAL_MS);
        state = PollAndPrint(downloader, status);
    }
    return state;
}

void PrintFilledAreas(CChipDownloader& downloader) {
    const CLockGuard access(downloader.AccessLock());
    const std::vector<COMPLETED_SECTION_INFO>& areas = *downloader.GetCompletedMemSegmentList();
    if (areas.empty() || IsReadout(downloader)) {
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
    CRunObserver nobody;
    return PerformDownload(info, connector, nobody);
}

std::string PerformDownload(CChipImageLoadingInformation& info, CSerialConnector* connector,
                            CRunObserver& observer) {
    if (connector == nullptr) {
        return "ERROR in PerformDownload: NULL Connector!";
    }
    CChipDownloader downloader(info, connector);
    downloader.SetRunObserver(observer);
    std::string error = downloader.PrepareForDownload();
    if (error.empty()) {
        // A thread that does not start shows up as the error of the first poll.
        downloader.StartDownload(nullptr);
        const DownloadStates state = PollUntilDone(downloader);
        if (state == DOWNLOAD_TERMINATED_WITH_ERROR) {
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
                CChipDownloader::GetStateName(state).c_str(),
                CTerminal(stdout).Shown(text == nullptr ? "" : text).c_str());
    return 0;
}

double SecondsBetween(unsigned int earlierMS, unsigned int laterMS) {
    return WrappingSubtract(laterMS, earlierMS) / 1000.0;
}
