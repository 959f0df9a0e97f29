#pragma once

#include <optional>
#include <string>
#include <vector>

#include "chipsim/SparseMemory.h"
#include "support/HexBytes.h"
#include "support/HexRecord.h"

// Image files made for tests, from the bytes that they are to load.

using CSampleRange = CSparseMemory::REGION;

// count bytes that differ from their neighbours and from those of another seed.
inline Bytes SampleBytes(unsigned int count, unsigned int seed) {
    Bytes bytes(count);
    for (unsigned int i = 0; i < count; ++i) {
        bytes[i] = static_cast<unsigned char>((i + seed) * 37 + (i >> 8) + seed);
    }
    return bytes;
}

inline std::string IntelHexText(const std::vector<CSampleRange>& ranges) {
    std::vector<CMemoryPiece> pieces;
    pieces.reserve(ranges.size());
    for (const CSampleRange& range : ranges) {
        pieces.push_back({range.address, 0, range.bytes});
    }
    std::string text;
    WriteHexFile(pieces, HEX_USUAL_RECORD_SIZE, std::nullopt,
                 [&text](std::string_view block) { text += block; });
    return text;
}

inline std::string HcdRecord(char opcode, unsigned int address, const Bytes& data) {
    std::string record = {opcode, '\xFC', static_cast<char>(data.size() + 4)};
    for (int shift = 0; shift < 32; shift += 8) {
        record += static_cast<char>(address >> shift);
    }
    return record + std::string(data.begin(), data.end());
}

// One write record for each range (at most 251 bytes) and the launch record, if there is to be one.
inline std::string HcdFile(const std::vector<CSampleRange>& ranges,
                           std::optional<unsigned int> launchAddress) {
    std::string content;
    for (const CSampleRange& range : ranges) {
        content += HcdRecord('L', range.address, range.bytes);
    }
    return launchAddress ? content + HcdRecord('N', *launchAddress, {}) : content;
}
