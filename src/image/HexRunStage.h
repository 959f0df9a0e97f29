#pragma once

#include <memory>

#include "corekit/intelhex/FastHexDecoder.h"
#include "util/ByteBuffer.h"
#include "util/Wrap32.h"

// Where the records of one Intel HEX file that continue each other are put together. Data arrive at
// the tail, behind what is staged, before it is known whether they continue it. Addresses are
// 32-bit and wrap: a record at 0 continues one that ends at 0xFFFFFFFF.
class CHexRunStage {
public:
    static constexpr unsigned int CAPACITY = 16 * 1024 * 1024;  // bytes

    CHexRunStage();

    bool IsEmpty() const { return m_nSize == 0; }
    bool IsContinuedAt(unsigned int address) const {
        return !IsEmpty() && address == WrappingAdd(m_nStart, m_nSize);
    }
    bool HasRoomFor(unsigned int count) const { return count <= GetRoom(); }

    // Room for what HasRoomFor tells, and for the data of one record in any case.
    unsigned char* GetTail() const { return m_pBlock.get() + m_nSize; }
    unsigned int GetRoom() const { return CAPACITY - m_nSize; }

    // Keeps the first count bytes of the tail; the caller has asked HasRoomFor.
    void KeepTail(unsigned int count) { m_nSize += count; }

    // Gives what is staged to an empty range. The stage is empty then, with the first tailCount
    // bytes of the tail still in it.
    void MoveRunTo(CByteBuffer& range, unsigned int tailCount);

    // Where the next run starts; for an empty stage.
    void StartAt(unsigned int address) { m_nStart = address; }

private:
    unsigned int m_nStart = 0;
    unsigned int m_nSize = 0;
    std::unique_ptr<unsigned char[]> m_pBlock;
};
