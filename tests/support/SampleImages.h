#pragma once

#include <algorithm>
#include <cstdio>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "support/HexBytes.h"
#include "support/HexRecord.h"

// Image files made for tests, from the bytes that they are to load.

struct CSampleRange {
    unsigned int m_nAddress;
    Bytes m_Data;
};

// count bytes that differ from their neighbours and from those of another seed.
inline Bytes SampleBytes(unsigned int count, unsigned int seed) {
    Bytes bytes(count);
    for (unsigned int i = 0; i < count; ++i) {
        bytes[i] = static_cast<unsigned char>((i + seed) * 37 + (i >> 8) + seed);
    }
    return bytes;
}

// Records of 16 bytes; no record crosses a border of 64 KiB.
inline std::string IntelHexText(const std::vector<CSampleRange>& ranges) {
    std::string text;
    unsigned int upper = 0;
    for (const CSampleRange& range : ranges) {
        for (std::size_t done = 0; done < range.m_Data.size();) {
            const unsigned int address = range.m_nAddress + static_cast<unsigned int>(done);
            if (address >> 16 != upper) {
                upper = address >> 16;
                text += HexRecord(
                    4, 0,
                    {static_cast<unsigned char>(upper >> 8), static_cast<unsigned char>(upper)});
            }
            const std::size_t count = std::min<std::size_t>(
                {16, range.m_Data.size() - done, 0x10000 - (address & 0xFFFF)});
            const auto first = range.m_Data.begin() + static_cast<std::ptrdiff_t>(done);
            text += HexRecord(0, address & 0xFFFF,
                              Bytes(first, first + static_cast<std::ptrdiff_t>(count)));
            done += count;
        }
    }
    return text + HEX_END_RECORD;
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
        content += HcdRecord('L', range.m_nAddress, range.m_Data);
    }
    return launchAddress ? content + HcdRecord('N', *launchAddress, {}) : content;
}
