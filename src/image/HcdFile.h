#pragma once

#include <cstdio>
#include <string>

// HCD files are HCI commands as they go to the chip (Bluetooth Core, Vol 4 Part E,
// 5.4.1) one after another: the opcode, one length byte P, a 32-bit address and P - 4 data bytes,
// all little-endian.

// The most data bytes that a record can hold.
inline constexpr unsigned int HCD_MAX_DATA_SIZE = 251;

// Reads one record; data needs room for HCD_MAX_DATA_SIZE bytes. *isLaunch tells a launch record,
// whose data mean nothing, from one to be written. False at the end of the file, with *error empty,
// and on a bad record. No pointer may be null.
bool ReadNextHCDRecord(std::FILE* file, unsigned int* address, unsigned int* dataSize,
                       unsigned char* data, bool* isLaunch, std::string* error);
