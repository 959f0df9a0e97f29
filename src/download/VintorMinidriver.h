#pragma once

class CChipDownloader;

// Writes the "MINIDRIVER" image into the chip and launches it, from state "Initialized". Returns
// whether the download goes on: a failure has set the error, a cancel leaves no message. Nothing is
// counted and no filled area is recorded. Runs on the download thread.
bool VintorDownloadMinidriver(CChipDownloader* downloader);
