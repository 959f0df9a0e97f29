#pragma once

#include "download/ChipDownloader.h"

// A downloader's access lock, held for the life of the object.
class CDownloaderAccess {
public:
    explicit CDownloaderAccess(CChipDownloader* downloader) : m_pDownloader(downloader) {
        m_pDownloader->LockForAccess();
    }
    CDownloaderAccess(const CDownloaderAccess&) = delete;
    CDownloaderAccess& operator=(const CDownloaderAccess&) = delete;
    ~CDownloaderAccess() { m_pDownloader->UnlockAccess(); }

private:
    CChipDownloader* m_pDownloader;
};
