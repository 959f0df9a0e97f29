#include "download/CustomX4410BDownloadAssistant.h"

#include "download/ChipDownloader.h"
#include "download/HciExchange.h"

std::string CCustomX4410BDownloadAssistant::DownloadPatches(CChipDownloader* downloader) {
    downloader->AddLogText("Entered X4410B DownloadPatches");
    return SendRecords(downloader, SEND_WHOLE);
}

std::string CCustomX4410BDownloadAssistant::FinishPatchSet(CChipDownloader* downloader) {
    // CORE_RESET_NTF with the two payload bytes 00 01.
    unsigned char notification[] = {0x10, 0x60, 0x00, 0x02, 0x00, 0x01};
    downloader->SetStatusDetails("Waiting to receive NCI_RESET_NTF");
    std::string error;
    if (SendCommandAndWaitForCompletion(downloader->SerialConnector(), nullptr, nullptr, 0,
                                        notification, sizeof notification,
                                        m_nWaitForResetNotificationMS, &error, nullptr)) {
        return ClearRxFIFO(downloader);
    }
    error += "  Failure waiting for the NCI_RESET_NTF notification";
    downloader->SetError(error);
    // Whether this works or not, the failure above ends the download.
    ClearRxFIFO(downloader);
    return error;
}
