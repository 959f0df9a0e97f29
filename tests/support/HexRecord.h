#pragma once

#include <string>
#include <vector>

#include "image/ImageWriters.h"

// One line of an Intel HEX file, line feed included.
inline std::string HexRecord(unsigned int type, unsigned int address,
                             const std::vector<unsigned char>& data) {
    std::string record;
    AppendHexRecord(record, type, address, data);
    return record;
}

inline constexpr const char* HEX_END_RECORD = ":00000001FF\n";
