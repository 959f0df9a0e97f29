#pragma once

class CChipDownloader;
struct CMemoryReadout;

// The passes over all images of a kind, range by range, record by record, on the download thread.
// Each returns whether the download goes on: a failure has set the error; a pass entered in the
// wrong state, or left because of a cancel, returns false without a message.

// Writes the minidriver and launches it, from state "Initialized"; any other state is an error.
// Counts nothing and records no filled area.
bool VintorDownloadMinidriver(CChipDownloader* downloader);

// Write, from state "ready to download"; with checkCRC the chip checks each range once it is
// written.
bool VintorDownloadFirmware(CChipDownloader* downloader, bool checkCRC);
bool VintorDownloadConfigData(CChipDownloader* downloader, bool checkCRC);

// Read back and compare, from state "ready to verify".
bool VintorVerifyFirmware(CChipDownloader* downloader);
bool VintorVerifyConfigData(CChipDownloader* downloader);

// Fill the readout, from the same state.
bool VintorReadMemory(CChipDownloader* downloader, CMemoryReadout& readout);
