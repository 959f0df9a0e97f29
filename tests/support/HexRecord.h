#pragma once

#include <string>
#include <vector>

#include "chipsim/IntelHexWriter.h"

// One line of an Intel HEX file, line feed included.
inline std::string HexRecord(unsigned int type, unsigned int address,
                             const std::vector<unsigned char>& data) {
    return MakeIntelHexRecord(type, address, data);
}

inline constexpr const char* HEX_END_RECORD = ":00000001FF\n";
