#include "download/VintorDownload.h"

#include <string>

#include "download/ChipDownloader.h"
#include "download/HciExchange.h"
#include "download/VintorCommands.h"
#include "download/VintorImages.h"
#include "download/VintorPhases.h"
#include "image/MemoryReadout.h"
#include "util/Crc32.h"

namespace {

void EnterState(CChipDownloader* downloader, DownloadStates state) {
    const CLockGuard access(downloader->AccessLock());
    downloader->SetState(state);
}

void Fail(CChipDownloader* downloader, const std::string& error) {
    const CLockGuard access(downloader->AccessLock());
    downloader->SetError(error);
}

bool ResetChip(CChipDownloader* downloader) {
    const CPhaseScope phase(*downloader, PHASE_PRELOAD);
    if (PerformHCIReset(downloader)) {
        return true;
    }
    Fail(downloader, "Failed to execute HCI Reset");
    return false;
}

bool EraseChip(CChipDownloader* downloader) {
    const CPhaseScope phase(*downloader, PHASE_ERASE);
    EnterState(downloader, DOWNLOAD_ERASING_CHIP);
    return VintorChipErase(downloader);
}

// Always firmware before configuration data.
bool WriteImages(CChipDownloader* downloader, bool checkCRC) {
    const CPhaseScope phase(*downloader, PHASE_WRITE);
    const CChipDownloadDescriptor& files = downloader->DownloadInfo()->GetDescriptor();
    EnterState(downloader, DOWNLOAD_READY_TO_DOWNLOAD);
    if (files.CountFirmwareFiles() > 0 && !VintorDownloadFirmware(downloader, checkCRC)) {
        return false;
    }
    EnterState(downloader, DOWNLOAD_READY_TO_DOWNLOAD);
    return files.CountConfigDataFiles() == 0 || VintorDownloadConfigData(downloader, checkCRC);
}

bool VerifyImages(CChipDownloader* downloader) {
    const CPhaseScope phase(*downloader, PHASE_VERIFY);
    const CChipDownloadDescriptor& files = downloader->DownloadInfo()->GetDescriptor();
    EnterState(downloader, DOWNLOAD_READY_TO_VERIFY);
    if (files.CountFirmwareFiles() > 0 && !VintorVerifyFirmware(downloader)) {
        return false;
    }
    EnterState(downloader, DOWNLOAD_READY_TO_VERIFY);
    return files.CountConfigDataFiles() == 0 || VintorVerifyConfigData(downloader);
}

bool ReadMemory(CChipDownloader* downloader, CMemoryReadout& readout) {
    const CPhaseScope phase(*downloader, readout.m_bOnlyCRC ? PHASE_CHECK : PHASE_VERIFY);
    EnterState(downloader, DOWNLOAD_READY_TO_VERIFY);
    return VintorReadMemory(downloader, readout);
}

// False after a failure, which has set the error, and after a cancel, which leaves no message.
bool RunPhases(CChipDownloader* downloader, const CVintorPhases& phases) {
    const CChipDownloadDescriptor& files = downloader->DownloadInfo()->GetDescriptor();
    const auto mayGoOn = [downloader] { return !downloader->IsCanceled(); };
    const bool isStarted =
        ResetChip(downloader) && mayGoOn() &&
        (files.CountMinidriverFiles() != 1 || VintorDownloadMinidriver(downloader)) && mayGoOn();
    if (CMemoryReadout* const readout = downloader->DownloadInfo()->GetReadout()) {
        return isStarted && ReadMemory(downloader, *readout);
    }
    return isStarted && (!phases.m_bErase || EraseChip(downloader)) && mayGoOn() &&
           (!phases.m_bWrite || WriteImages(downloader, phases.m_bCheckCRC)) && mayGoOn() &&
           (!phases.m_bVerify || VerifyImages(downloader)) && mayGoOn() &&
           VintorDownloadReset(downloader);
}

}  // namespace

unsigned int VintorDownloadingFunction(CChipDownloader* downloader) {
    std::string error;
    const CVintorPhases phases = DecideVintorPhases(*downloader->DownloadInfo(), &error);
    if (!error.empty()) {
        Fail(downloader, error);
        return 0;
    }
    if (phases.m_bCheckCRC) {
        make_crc_table();
    }
    if (RunPhases(downloader, phases)) {
        EnterState(downloader, DOWNLOAD_COMPLETED);
    }
    return 0;
}
