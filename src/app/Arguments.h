#pragma once

#include <string>

#include "app/BooleanOptions.h"

class CChipDownloadDescriptor;

// Set by -RECORDDLTIME; read by main only.
extern bool g_bRecordDownloadTimeInFile;

// Turns the command line into a download request. All outputs are the caller's; all but checkCRC,
// which keeps the caller's initial value, are set. transportParameters receives one " NAME=value"
// line for each parameter of the link. Rule files are loaded here, other files only have to exist.
//
// Returns the error text, empty on success. The first error ends it and is printed with the usage
// text on standard error; without any argument the usage text is printed and nothing is an error.
std::string ProcessArgsAndPrepare(int argc, char** argv, std::string* transportParameters,
                                  CChipDownloadDescriptor* descriptor, bool* vintorMode,
                                  bool* issueDownloadMinidriverCommand, std::string* vnpFileName,
                                  BooleanOptions* erase, BooleanOptions* write,
                                  BooleanOptions* verify, BooleanOptions* checkCRC,
                                  unsigned int* dlMinidriverChunkSize);
