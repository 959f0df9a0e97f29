#pragma once

#include <memory>
#include <span>

#include "util/Wrap32.h"

// Where the records of one Intel HEX file that continue each other are put together. Addresses are
// 32-bit and wrap: a record at 0 continues one that ends at 0xFFFFFFFF.
class CHexRunStage {
public:
    static constexpr unsigned int CAPACITY = 16 * 1024 * 1024;  // bytes

    CHexRunStage();

    bool IsEmpty() const { return m_nSize == 0; }
    bool IsContinuedAt(unsigned int address) const {
        return !IsEmpty() && address == WrappingAdd(m_nStart, m_nSize);
    }
    bool HasRoomFor(size_t size) const { return size <= CAPACITY - m_nSize; }

    // Drops what is staged.
    void StartAt(unsigned int address) {
        m_nStart = address;
        m_nSize = 0;
    }
    // The caller has asked HasRoomFor.
    void Append(std::span<const unsigned char> bytes);

    unsigned int GetStart() const { return m_nStart; }
    unsigned int GetSize() const { return m_nSize; }
    unsigned char* GetBytes() const { return m_pBytes.get(); }

private:
    unsigned int m_nStart = 0;
    unsigned int m_nSize = 0;
    std::unique_ptr<unsigned char[]> m_pBytes;
};
