#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "chipsim/SparseMemory.h"

// One line of an Intel HEX file: at most 255 bytes, and the low 16 bits of the address.
std::string MakeIntelHexRecord(unsigned int type, std::uint32_t address,
                               std::span<const unsigned char> bytes);

// A whole file: data records of 16 bytes, none across 64 KiB, and an extended linear address record
// where the upper 16 address bits change.
std::string MakeIntelHexText(const std::vector<CSparseMemory::REGION>& regions);
