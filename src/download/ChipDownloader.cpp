#include "download/ChipDownloader.h"

#include "os/OSTime.h"

std::string CChipDownloader::CancelDownload(int timeoutMs) {
    if (!IsRunning()) {
        return "Not running!";
    }
    RequestCancel();
    if (timeoutMs > 0) {
        const unsigned int deadline = GetCurrentOSTimeMS() + static_cast<unsigned int>(timeoutMs);
        // Unreachable today: IsRunning is false once a cancel is requested.
        while (IsRunning() && GetCurrentOSTimeMS() <= deadline) {
            PutThreadToSleep(500);
        }
        if (IsRunning()) {
            return "CANCEL ERROR: Timed out waiting to for the download to stop";
        }
    }
    return {};
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
