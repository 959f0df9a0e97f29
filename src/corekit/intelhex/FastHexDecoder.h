#pragma once

#include <cstddef>

// The most data bytes that a record can hold.
inline constexpr unsigned int HEX_MAX_DATA_SIZE = 255;

struct FastHexRecord {
    unsigned int count = 0;
    unsigned int address = 0;
    unsigned int type = 0;
    std::size_t textSize = 0;  // characters, line end included
};

// Decodes the record at the start of text, its data into out, which needs room for
// HEX_MAX_DATA_SIZE bytes. Takes records in the standard form only: ":", digits and nothing else,
// as many as the count asks for, a correct checksum, a line feed with or without a carriage return.
// False for any other line and for an end record: CIntelHexBasics decides what those are; out may
// be overwritten.
bool DecodeRecordFast(const char* text, std::size_t available, FastHexRecord& record,
                      unsigned char* out);

// Decodes the data records that follow first, the decoded data record at the start of text, as long
// as they have its size and line end and each continues the address of the one before; limit at
// most. Returns their number. Their data go to out in sequence, which needs room for limit records.
unsigned int DecodeFollowingRecordsFast(const char* text, std::size_t available,
                                        const FastHexRecord& first, unsigned int limit,
                                        unsigned char* out);
