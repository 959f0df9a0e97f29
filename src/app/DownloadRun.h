#pragma once

#include <string>

#include "download/DownloadStates.h"

class CChipImageLoadingInformation;
class CRunObserver;
class CSerialConnector;

// Milliseconds between two polls of a running download.
extern unsigned int PROGRESS_REPORT_INTERVAL_MS;

// Runs one download on a thread of its own. Prints the new status details and a line of progress in
// each interval, and the memory areas that were filled at the end, also after an error. Returns the
// error text, empty on success and after a cancel. The caller connects the connector and keeps it.
[[nodiscard]] std::string PerformDownload(CChipImageLoadingInformation& info,
                                          CSerialConnector* connector);
// The same with an observer of the run.
[[nodiscard]] std::string PerformDownload(CChipImageLoadingInformation& info,
                                          CSerialConnector* connector, CRunObserver& observer);

// The same download, reported through CallbackDownloadProgress. Returns the error text of the
// preparation only; the callback gets the outcome of the download.
[[nodiscard]] std::string PerformDownloadWithCallback(CChipImageLoadingInformation& info,
                                                      CSerialConnector* connector);

// The seconds between two readings of GetCurrentOSTimeMS. That clock starts again every second, so
// the later reading may be smaller: the difference then wraps to just below 4294967.296, a value
// that readers of the timing lines know.
double SecondsBetween(unsigned int earlierMS, unsigned int laterMS);

// Prints one line of totals; text may be null. Called on the download thread. Always 0.
unsigned int CallbackDownloadProgress(unsigned int downloaded, unsigned int verified,
                                      DownloadStates state, const char* text);
