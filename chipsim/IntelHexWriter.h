#pragma once

#include <string>

#include "chipsim/SparseMemory.h"

// The written bytes of the memory as an Intel HEX text: 16 bytes to a data record, an extended
// linear address record whenever the upper 16 address bits change, an end record.
std::string MakeIntelHexText(const CSparseMemory& memory);
