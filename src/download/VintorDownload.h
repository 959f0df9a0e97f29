#pragma once

class CChipDownloader;

// The standard download, which the download thread runs in Vintor mode: reset, minidriver, erase,
// write, verify, launch. Always 0: the outcome is the downloader's state and error.
unsigned int VintorDownloadingFunction(CChipDownloader* downloader);
