#pragma once

#include <string>

#include "download/DownloadStates.h"

class CChipImageLoadingInformation;
class CSerialConnector;

// Milliseconds between two polls of a running download.
extern unsigned int PROGRESS_REPORT_INTERVAL_MS;

// Runs one download on a thread of its own and prints on standard output, once in each interval,
// the new status details and a line of progress; at the end, also after an error, the memory areas
// that were filled. Returns the error text, empty on success and after a cancel. The connector is
// connected and stays the caller's.
std::string PerformDownload(CChipImageLoadingInformation& info, CSerialConnector* connector);

// The same download, reported through CallbackDownloadProgress instead of polls. Returns the error
// text of the preparation only: the outcome of the download reaches the callback.
std::string PerformDownloadWithCallback(CChipImageLoadingInformation& info,
                                        CSerialConnector* connector);

// The seconds between two readings of GetCurrentOSTimeMS, which starts again every second. A
// difference whose later reading is the smaller one wraps and comes out just below 4294967.296.
// Kept so on purpose.
double SecondsBetween(unsigned int earlierMS, unsigned int laterMS);

// Prints one line of totals; text may be null. Called on the download thread. Always 0.
unsigned int CallbackDownloadProgress(unsigned int downloaded, unsigned int verified,
                                      DownloadStates state, const char* text);
