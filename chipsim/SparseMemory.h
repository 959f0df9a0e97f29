#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <vector>

// The chip's 32-bit address space, one byte to an address. Only written pages take room. A byte
// that was never written, or was erased, reads 0xFF. Addresses wrap from 0xFFFFFFFF to 0.
//
// Not synchronised: one thread at a time.
class CSparseMemory {
public:
    // A run of bytes that were written, whatever their values; it never wraps.
    struct REGION {
        std::uint32_t address = 0;
        std::vector<unsigned char> bytes;
    };

    CSparseMemory() = default;
    CSparseMemory(const CSparseMemory&) = delete;
    CSparseMemory& operator=(const CSparseMemory&) = delete;

    void Write(std::uint32_t address, std::span<const unsigned char> bytes);
    void Read(std::uint32_t address, std::span<unsigned char> bytes) const;

    // Erases everything but the bytes from keepFirst to keepLast, both included; nothing is kept
    // when keepFirst > keepLast.
    void EraseAllBut(std::uint32_t keepFirst, std::uint32_t keepLast);

    // CRC-32 (ISO/IEC 8802-3) over count bytes.
    std::uint32_t Crc(std::uint32_t address, std::uint32_t count) const;

    // The written bytes in order of address, neighbours joined.
    std::vector<REGION> WrittenRegions() const;

private:
    static constexpr std::uint32_t PAGE_BYTES = 4096;
    struct PAGE {
        PAGE() { bytes.fill(0xFF); }
        std::array<unsigned char, PAGE_BYTES> bytes;
        std::bitset<PAGE_BYTES> written;
    };

    PAGE& PageFor(std::uint32_t address);
    const PAGE* FindPage(std::uint32_t address) const;
    static void ErasePart(PAGE& page, std::uint32_t first, std::uint32_t count);

    std::map<std::uint32_t, std::unique_ptr<PAGE>> m_Pages;  // by page number
};
