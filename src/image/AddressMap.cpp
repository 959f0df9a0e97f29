#include "image/AddressMap.h"

#include <algorithm>

#include "image/AddressOrder.h"
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
    if (!m_bInOrder) {
        SortPieces();
        CutOverlaps();
    }
}

void CAddressMap::AddImage(const CChipImageByteData& image, std::uint32_t source) {
    m_Pieces.reserve(m_Pieces.size() + image.CountContiguousRanges());
    for (unsigned int i = 0; i < image.CountContiguousRanges(); ++i) {
        const CByteBuffer& range = image.GetByteBuffer(i);
        const std::uint32_t address = range.GetBaseAddress();
        const std::span bytes(range.GetDataBuffer(), range.GetDataByteSize());
        const std::uint64_t below = std::min<std::uint64_t>(bytes.size(), ADDRESS_SPACE - address);
        if (below != 0) {
            AddPiece({address, source, bytes.first(below)});
        }
        if (below != bytes.size()) {
            AddPiece({0, source, bytes.subspan(below)});
        }
    }
}

void CAddressMap::AddPiece(const CMemoryPiece& piece) {
    m_bInOrder = m_bInOrder && (m_Pieces.empty() || m_Pieces.back().End() <= piece.m_nAddress);
    m_Pieces.push_back(piece);
}

// A piece is larger than what tells its place.
void CAddressMap::SortPieces() {
    std::vector<CAddressRange> order;
    order.reserve(m_Pieces.size());
    for (const CMemoryPiece& piece : m_Pieces) {
        order.push_back({piece.m_nAddress, 0, static_cast<std::uint32_t>(order.size())});
    }
    SortByAddress(order);
    std::vector<CMemoryPiece> pieces;
    pieces.reserve(order.size());
    for (const CAddressRange& range : order) {
        pieces.push_back(m_Pieces[range.m_nIndex]);
    }
    m_Pieces.swap(pieces);
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
