#include "image/AddressMap.h"

#include <algorithm>
#include <array>
#include <utility>

#include "image/ChipImageByteData.h"

namespace {

constexpr std::uint64_t ADDRESS_SPACE = std::uint64_t{1} << 32;

bool IsBefore(const CMemoryPiece& left, const CMemoryPiece& right) {
    return left.m_nAddress < right.m_nAddress;
}

// What two pieces have in common. They must overlap.
CAddressOverlap Compare(const CMemoryPiece& earlier, const CMemoryPiece& later) {
    const std::uint32_t first = std::max(earlier.m_nAddress, later.m_nAddress);
    const std::size_t count = std::min(earlier.End(), later.End()) - first;
    const auto bytesOf = [&](const CMemoryPiece& piece) {
        return piece.m_Bytes.subspan(first - piece.m_nAddress, count);
    };
    const auto one = bytesOf(earlier);
    const auto two = bytesOf(later);
    CAddressOverlap overlap{first, static_cast<std::uint32_t>(first + (count - 1)),
                            earlier.m_nSource, later.m_nSource};
    const auto [here, there] = std::mismatch(one.begin(), one.end(), two.begin());
    if (here != one.end()) {
        overlap.m_bDiffers = true;
        overlap.m_nDifference = first + static_cast<std::uint32_t>(here - one.begin());
        overlap.m_nEarlierByte = *here;
        overlap.m_nLaterByte = *there;
    }
    return overlap;
}

}  // namespace

CAddressMap::CAddressMap(std::span<const CChipImageByteData* const> images) {
    std::uint32_t source = 0;
    for (const CChipImageByteData* image : images) {
        AddImage(*image, source++);
    }
    SortPieces();
    CutOverlaps();
}

void CAddressMap::AddImage(const CChipImageByteData& image, std::uint32_t source) {
    m_Pieces.reserve(m_Pieces.size() + image.CountContiguousRanges());
    for (unsigned int i = 0; i < image.CountContiguousRanges(); ++i) {
        const CByteBuffer& range = image.GetByteBuffer(i);
        const std::uint32_t address = range.GetBaseAddress();
        const std::span bytes(range.GetDataBuffer(), range.GetDataByteSize());
        const std::uint64_t below = std::min<std::uint64_t>(bytes.size(), ADDRESS_SPACE - address);
        if (below != 0) {
            m_Pieces.push_back({address, source, bytes.first(below)});
        }
        if (below != bytes.size()) {
            m_Pieces.push_back({0, source, bytes.subspan(below)});
        }
    }
}

// Files are mostly in order already. Images of very many ranges are not: by three digits of 11
// bits, several times faster than by comparisons.
void CAddressMap::SortPieces() {
    constexpr std::size_t MANY = 10'000;
    if (std::ranges::is_sorted(m_Pieces, IsBefore)) {
        return;
    }
    if (m_Pieces.size() < MANY) {
        std::ranges::stable_sort(m_Pieces, IsBefore);
        return;
    }
    std::vector<CMemoryPiece> sorted(m_Pieces.size());
    for (const unsigned int shift : {0U, 11U, 22U}) {
        std::array<std::size_t, 2048> next{};
        const auto digit = [shift](const CMemoryPiece& piece) {
            return piece.m_nAddress >> shift & 2047;
        };
        for (const CMemoryPiece& piece : m_Pieces) {
            ++next[digit(piece)];
        }
        std::size_t before = 0;
        for (std::size_t& start : next) {
            before += std::exchange(start, before);
        }
        for (const CMemoryPiece& piece : m_Pieces) {
            sorted[next[digit(piece)]++] = piece;
        }
        m_Pieces.swap(sorted);
    }
}

void CAddressMap::CutOverlaps() {
    const auto overlapsNext = [](const CMemoryPiece& left, const CMemoryPiece& right) {
        return left.End() > right.m_nAddress;
    };
    const auto firstOverlap = std::ranges::adjacent_find(m_Pieces, overlapsNext);
    if (firstOverlap == m_Pieces.end()) {
        return;
    }
    std::vector<CMemoryPiece> rest(firstOverlap + 1, m_Pieces.end());
    m_Pieces.erase(firstOverlap + 1, m_Pieces.end());
    for (CMemoryPiece& piece : rest) {
        const std::uint64_t end = m_Pieces.back().End();
        if (piece.m_nAddress < end) {
            RecordOverlaps(piece);
            if (piece.End() <= end) {
                continue;
            }
            piece.m_Bytes = piece.m_Bytes.subspan(end - piece.m_nAddress);
            piece.m_nAddress = static_cast<std::uint32_t>(end);
        }
        m_Pieces.push_back(piece);
    }
}

// With all pieces that are there already: none begins above the new one, but cut ones do.
void CAddressMap::RecordOverlaps(const CMemoryPiece& piece) {
    auto other = std::ranges::upper_bound(m_Pieces, piece, IsBefore) - 1;
    for (; other != m_Pieces.end() && other->m_nAddress < piece.End(); ++other) {
        if (other->End() > piece.m_nAddress) {
            m_Overlaps.push_back(Compare(*other, piece));
        }
    }
}

const CAddressOverlap* CAddressMap::FirstConflict() const {
    const auto found = std::ranges::find(m_Overlaps, true, &CAddressOverlap::m_bDiffers);
    return found == m_Overlaps.end() ? nullptr : &*found;
}

std::uint64_t CAddressMap::CountBytes() const {
    std::uint64_t count = 0;
    for (const CMemoryPiece& piece : m_Pieces) {
        count += piece.m_Bytes.size();
    }
    return count;
}

std::size_t CountContiguous(std::span<const CMemoryPiece> pieces, bool sameSource) {
    std::size_t count = std::min<std::size_t>(pieces.size(), 1);
    while (count < pieces.size() && pieces[count].m_nAddress == pieces[count - 1].End() &&
           (!sameSource || pieces[count].m_nSource == pieces[0].m_nSource)) {
        ++count;
    }
    return count;
}
