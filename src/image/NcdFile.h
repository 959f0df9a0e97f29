#pragma once

#include <cstdio>
#include <string>

// NCD files hold packets that go to the chip as they are: PID 0x10, two bytes left alone, a length
// byte L, then L bytes of which the first is the record type; type 6 ends a patch set.

// The most bytes that a record can hold, its header included.
inline constexpr unsigned int NCD_MAX_RECORD_SIZE = 4 + 255;

// Reads one record, header included, into record, which needs room for NCD_MAX_RECORD_SIZE bytes.
// The flag has no effect. False at the end of the file, with *error empty, and on a bad record. No
// pointer may be null.
bool ReadNextNCDRecord(std::FILE* file, bool flag, unsigned int* recordSize, unsigned char* record,
                       bool* endsPatchSet, std::string* error);
