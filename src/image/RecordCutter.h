#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

#include "image/AddressMap.h"

// Cuts pieces into records of at most size bytes, which is at most 255, none across a multiple of
// segment. Pieces that continue each other are cut as one. put(address, bytes) takes a record.
template <typename Put>
void CutRecords(std::span<const CMemoryPiece> pieces, std::size_t size, std::uint64_t segment,
                const Put& put) {
    std::array<unsigned char, 255> held;  // the end of a piece, until the next is known
    std::size_t heldCount = 0;
    std::uint32_t start = 0;
    const auto putHeld = [&] {
        if (heldCount != 0) {
            put(start, std::span<const unsigned char>(held).first(heldCount));
            heldCount = 0;
        }
    };
    for (const CMemoryPiece& piece : pieces) {
        if (std::uint64_t{start} + heldCount != piece.m_nAddress) {
            putHeld();
        }
        for (std::span<const unsigned char> rest = piece.m_Bytes; !rest.empty();) {
            if (heldCount == 0) {
                start = piece.m_nAddress +
                        static_cast<std::uint32_t>(piece.m_Bytes.size() - rest.size());
            }
            const std::size_t whole = std::min<std::uint64_t>(size, segment - start % segment);
            const std::size_t count = std::min(whole - heldCount, rest.size());
            if (count == whole) {
                put(start, rest.first(count));
            } else {
                std::copy_n(rest.begin(), count, held.begin() + heldCount);
                heldCount += count;
                if (heldCount == whole) {
                    putHeld();
                }
            }
            rest = rest.subspan(count);
        }
    }
    putHeld();
}
