#pragma once

#include <cstdint>
#include <span>
#include <vector>

class CChipImageByteData;

// Bytes at consecutive addresses, in memory that an image owns. Never across the wrap at 4 GiB.
struct CMemoryPiece {
    std::uint32_t m_nAddress = 0;
    std::uint32_t m_nSource = 0;  // which image, counted from 0
    std::span<const unsigned char> m_Bytes;

    std::uint64_t End() const { return std::uint64_t{m_nAddress} + m_Bytes.size(); }
};

// Addresses that are written twice.
struct CAddressOverlap {
    std::uint32_t m_nFirst = 0;
    std::uint32_t m_nLast = 0;
    std::uint32_t m_nEarlierSource = 0;
    std::uint32_t m_nLaterSource = 0;
    bool m_bDiffers = false;  // first with different bytes at m_nDifference
    std::uint32_t m_nDifference = 0;
    unsigned char m_nEarlierByte = 0;
    unsigned char m_nLaterByte = 0;
};

// Where the bytes of one or more images lie in the address space. The images must outlive the map
// and stay as they are. One thread at a time.
class CAddressMap {
public:
    explicit CAddressMap(std::span<const CChipImageByteData* const> images);

    // In order of address, disjoint. Of bytes that are there twice the map keeps those that begin
    // at the lower address, or come from the earlier range.
    const std::vector<CMemoryPiece>& Pieces() const { return m_Pieces; }
    const std::vector<CAddressOverlap>& Overlaps() const { return m_Overlaps; }
    // Null when no byte is there twice with different values.
    const CAddressOverlap* FirstConflict() const;

    std::uint64_t CountBytes() const;

private:
    void AddImage(const CChipImageByteData& image, std::uint32_t source);
    void AddPiece(const CMemoryPiece& piece);
    void SortPieces();
    void CutOverlaps();
    void RecordOverlaps(const CMemoryPiece& piece);

    bool m_bInOrder = true;  // as most files are: neither sorted nor cut
    std::vector<CMemoryPiece> m_Pieces;
    std::vector<CAddressOverlap> m_Overlaps;
};

// The number of pieces from the first that continue each other, by one source only if asked for.
std::size_t CountContiguous(std::span<const CMemoryPiece> pieces, bool sameSource);
