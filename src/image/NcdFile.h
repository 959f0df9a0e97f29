#pragma once

#include <cstdio>
#include <string>

// NCD files hold packets that are sent to the chip unchanged: PID 0x10, two bytes that are not read
// here, a length byte L, then L bytes. The first of these is the record type; type 6 ends a patch
// set.

// The most bytes that a record can hold, its header included.
inline constexpr unsigned int NCD_MAX_RECORD_SIZE = 4 + 255;

// Reads what comes before the records: the version block with the number of patch sets, which goes
// to *patchSets (may be null), and their descriptors. Returns the error text, empty on success.
std::string ReadNCDFileHead(std::FILE* file, const char* fileName,
                            unsigned int* patchSets = nullptr);

// Reads one record, header included, into record, which holds NCD_MAX_RECORD_SIZE bytes. The flag
// has no effect. False at the end of the file, with *error empty, and on a bad record. No pointer
// may be null.
bool ReadNextNCDRecord(std::FILE* file, bool flag, unsigned int* recordSize, unsigned char* record,
                       bool* endsPatchSet, std::string* error);
