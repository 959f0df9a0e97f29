#pragma once

class CChipDownloader;

// The standard download: reset, minidriver, erase, write, verify, launch. DLSectorEraseMode,
// DLWriteVerifyMode and the user's overrides decide which of them. With a readout in the loading
// information: reset, minidriver, and the readout instead of the rest. Runs on the download thread.
// Always 0: the outcome is the downloader's state and error.
unsigned int VintorDownloadingFunction(CChipDownloader* downloader);
