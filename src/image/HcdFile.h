#pragma once

#include <cstdio>
#include <string>

// HCD files are a sequence of HCI commands as the chip receives them (Bluetooth Core, Vol 4 Part E,
// 5.4.1): the opcode, one length byte P, a 32-bit address and P - 4 data bytes, all little-endian.

// The most data bytes in a record.
inline constexpr unsigned int HCD_MAX_DATA_SIZE = 251;

// Reads one record; data holds HCD_MAX_DATA_SIZE bytes. *isLaunch is true for a launch record,
// whose data mean nothing, and false for data to be written. False at the end of the file, with
// *error empty, and on a bad record. No pointer may be null.
bool ReadNextHCDRecord(std::FILE* file, unsigned int* address, unsigned int* dataSize,
                       unsigned char* data, bool* isLaunch, std::string* error);
