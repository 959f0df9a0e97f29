#pragma once

#include <cstddef>

// The most data bytes that a record can hold.
inline constexpr unsigned int HEX_MAX_DATA_SIZE = 255;

struct PlainHexRecord {
    unsigned int count = 0;
    unsigned int address = 0;
    unsigned int type = 0;
    std::size_t textSize = 0;  // characters, line end included
};

// Decodes the record that text starts with, the data into out, which needs room for
// HEX_MAX_DATA_SIZE bytes. Only for records that are plainly well formed: nothing but digits after
// the ":", none missing and none too many, a checksum that is right, and then a line feed with or
// without a carriage return. False says nothing but that the record is not one of those, or that it
// is an end record; out may be written all the same.
bool DecodePlainHexRecord(const char* text, std::size_t available, PlainHexRecord& record,
                          unsigned char* out);

// Decodes the data records behind a data record that text starts with and that has been decoded
// into first: those that have its size and line end and an address each that continues the one in
// front, limit at most. Returns their number; their data lie in out one behind the other. Room as
// for limit records.
unsigned int DecodeContinuingHexRecords(const char* text, std::size_t available,
                                        const PlainHexRecord& first, unsigned int limit,
                                        unsigned char* out);
