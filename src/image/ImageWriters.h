#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "image/AddressMap.h"

// Writers of image files. The pieces are in order of address and disjoint, as in CAddressMap.

// Takes the content of a file, block by block.
using FileSink = std::function<void(std::string_view)>;

inline constexpr unsigned int HEX_USUAL_RECORD_SIZE = 16;

// Appends one line of an Intel HEX file: at most 255 bytes, the low 16 bits of the address, upper
// case, a line feed.
void AppendHexRecord(std::string& text, unsigned int type, std::uint32_t address,
                     std::span<const unsigned char> bytes);

// Data records of at most recordSize bytes, none across 64 KiB, with extended linear address
// records. The start linear address record for the launch address comes last, since readers for
// these chips count data that follow it from its address.
void WriteHexFile(std::span<const CMemoryPiece> pieces, unsigned int recordSize,
                  std::optional<std::uint32_t> launchAddress, const FileSink& sink);

// Write RAM commands of at most recordSize bytes, and a Launch RAM command for the launch address.
void WriteHcdFile(std::span<const CMemoryPiece> pieces, unsigned int recordSize,
                  std::optional<std::uint32_t> launchAddress, const FileSink& sink);

// The bytes from the lowest to the highest address. The pieces must have no gaps.
void WriteRawFile(std::span<const CMemoryPiece> pieces, const FileSink& sink);

// The pieces with others between them that point into filler, which must not be empty.
std::vector<CMemoryPiece> FillGaps(std::span<const CMemoryPiece> pieces,
                                   std::span<const unsigned char> filler);
