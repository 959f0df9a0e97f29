#pragma once

#include "download/CustomX4410ADownloadAssistant.h"

// The X4410A procedure for parts that restart after a patch set: they tell so with a reset
// notification, which takes the place of the pause, and take records whole only.
class CCustomX4410BDownloadAssistant final : public CCustomX4410ADownloadAssistant {
public:
    using CCustomX4410ADownloadAssistant::CCustomX4410ADownloadAssistant;

    std::string DownloadPatches(CChipDownloader* downloader) override;

protected:
    bool SendRecord(const CByteBuffer& record, std::span<const unsigned char> response,
                    unsigned int timeoutMS, std::string* error,
                    CChipDownloader* downloader) override;
    std::string FinishPatchSet(CChipDownloader* downloader) override;

private:
    const unsigned int m_nWaitForResetNotificationMS = 5000;
};
