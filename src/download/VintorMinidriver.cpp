#include "download/VintorMinidriver.h"

#include <algorithm>
#include <string>

#include "download/ChipDownloader.h"
#include "download/VintorCommands.h"
#include "download/WriteSize.h"
#include "util/FormatText.h"
#include "util/Wrap32.h"

namespace {

constexpr char KIND[] = "MINIDRIVER";

// The chunk to load, or null with the error set.
const CChipImageByteData* FindMinidriver(CChipDownloader* downloader) {
    CChipImageLoadingInformation& info = *downloader->DownloadInfo();
    const unsigned int index = info.FindNextDataChunk(nullptr, KIND, 0);
    const CLockGuard access(downloader->AccessLock());
    const DownloadStates state = downloader->GetStatus(nullptr, nullptr, nullptr, nullptr);
    if (state != DOWNLOAD_INITIALIZED) {
        downloader->SetError(
            ("VintorDownloadMinidriver: unexpected state " + CChipDownloader::GetStateName(state)));
        return nullptr;
    }
    if (index == CChipImageLoadingInformation::NO_CHUNK) {
        downloader->SetError("MINIDRIVER chunk not found!");
        return nullptr;
    }
    downloader->SetState(DOWNLOAD_LOADING_MINIDRIVER);
    downloader->ReportProgress(nullptr);
    return &info.GetChunk(index);
}

bool WriteRecord(CChipDownloader* downloader, const unsigned char* data, unsigned char n,
                 unsigned int address) {
    const CLockGuard access(downloader->AccessLock());
    if (!VintorDownloadSingleRecord(downloader->SerialConnector(), downloader->UARTTransmitPrefix(),
                                    data, n, address)) {
        downloader->SetError(FormatText(
            "Download minidriver error trying to write %0d bytes to address 0x%08X", n, address));
        return false;
    }
    const std::string text = FormatText(
        "Download minidriver successfully had written %0d bytes to address 0x%08X", n, address);
    downloader->SetStatusDetails(text);
    downloader->ReportProgress(text);
    return true;
}

bool WriteRange(CChipDownloader* downloader, const CByteBuffer& range, unsigned int chunkSize) {
    const unsigned int size = range.GetDataByteSize();
    unsigned int offset = 0;
    while (offset < size && downloader->IsRunning()) {
        const auto n = static_cast<unsigned char>(std::min(chunkSize, size - offset));
        if (!WriteRecord(downloader, range.GetDataBuffer() + offset, n,
                         WrappingAdd(range.GetBaseAddress(), offset))) {
            return false;
        }
        offset += n;
    }
    return true;
}

}  // namespace

bool VintorDownloadMinidriver(CChipDownloader* downloader) {
    const CChipImageByteData* chunk = FindMinidriver(downloader);
    if (chunk == nullptr) {
        return false;
    }
    const CChipImageLoadingInformation& info = *downloader->DownloadInfo();
    const unsigned int override = info.GetDLMinidriverChunkSizeOverride();
    const unsigned int chunkSize = override != 0 ? override : GetMaxWriteSize(info);
    for (unsigned int i = 0; i < chunk->CountContiguousRanges() && downloader->IsRunning(); ++i) {
        if (!WriteRange(downloader, chunk->GetByteBuffer(i), chunkSize)) {
            return false;
        }
    }
    if (!downloader->IsRunning()) {
        return false;
    }
    return VintorMinidriverLaunch(downloader, chunk->IsLaunchAddressKnown()
                                                  ? chunk->GetLaunchAddress()
                                                  : chunk->GetFirstAddressLoaded());
}
