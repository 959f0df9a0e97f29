#pragma once

#include <optional>
#include <string>

#include "app/Request.h"

// Set by -RECORDDLTIME: main appends the times of the download to this file.
extern bool g_bRecordDownloadTimeInFile;
inline constexpr char DOWNLOAD_TIMES_FILE[] = "./DLTIMES.TXT";

// Reads the command line into a request. Rule files are loaded here; other files only have to
// exist.
//
// Returns the error text, empty on success. The first error ends the reading and is printed on
// standard error, followed by the usage text. Without any argument only the usage text is printed,
// and that is no error.
[[nodiscard]] std::string ReadRequest(int argc, char** argv, CRequest& request);

// The same without printing anything.
[[nodiscard]] std::string ReadOptions(int argc, char** argv, CRequest& request);

// Whether the argument names an option, wherever it may stand, and if so, whether a value follows.
std::optional<bool> DoesOptionTakeValue(const std::string& argument);

// The same as ReadRequest with an output for each item. All are set but checkCRC, which keeps the
// caller's value unless the option is given; files and rule sets are added to the descriptor.
std::string ProcessArgsAndPrepare(int argc, char** argv, std::string* transportParameters,
                                  CChipDownloadDescriptor* descriptor, bool* vintorMode,
                                  bool* issueDownloadMinidriverCommand, std::string* vnpFileName,
                                  BooleanOptions* erase, BooleanOptions* write,
                                  BooleanOptions* verify, BooleanOptions* checkCRC,
                                  unsigned int* dlMinidriverChunkSize);
