#pragma once

#include "download/CustomX4410ADownloadAssistant.h"

// The X4410A procedure for parts that restart after each patch set. The reset notification that
// they send then replaces the pause, and records are always sent whole.
class CCustomX4410BDownloadAssistant final : public CCustomX4410ADownloadAssistant {
public:
    using CCustomX4410ADownloadAssistant::CCustomX4410ADownloadAssistant;

    std::string DownloadPatches(CChipDownloader* downloader) override;

protected:
    std::string FinishPatchSet(CChipDownloader* downloader) override;

private:
    const unsigned int m_nWaitForResetNotificationMS = 5000;
};
