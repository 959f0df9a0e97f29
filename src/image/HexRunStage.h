#pragma once

#include <memory>

#include "corekit/intelhex/FastHexDecoder.h"
#include "util/ByteBuffer.h"
#include "util/Wrap32.h"

// Collects the records of an Intel HEX file that continue each other into runs. New data are
// written after the staged run, to the tail, before it is known whether they continue the run.
// Addresses are 32-bit and wrap: a record at 0 continues one that ends at 0xFFFFFFFF.
class CHexRunStage {
public:
    static constexpr unsigned int CAPACITY = 16 * 1024 * 1024;  // bytes

    CHexRunStage();

    bool IsEmpty() const { return m_nSize == 0; }
    bool IsContinuedAt(unsigned int address) const {
        return !IsEmpty() && address == WrappingAdd(m_nStart, m_nSize);
    }

    // Holds GetRoom bytes, and always the data of one record.
    unsigned char* GetTail() const { return m_pBlock.get() + m_nSize; }
    unsigned int GetRoom() const { return CAPACITY - m_nSize; }

    // Adds the first count bytes of the tail to the run. At most GetRoom.
    void KeepTail(unsigned int count) { m_nSize += count; }

    // Moves the run to an empty range. The first tailCount bytes of the tail stay the tail.
    void MoveRunTo(CByteBuffer& range, unsigned int tailCount);

    // Sets the address of the next run. Requires IsEmpty.
    void StartAt(unsigned int address) { m_nStart = address; }

private:
    unsigned int m_nStart = 0;
    unsigned int m_nSize = 0;
    std::unique_ptr<unsigned char[]> m_pBlock;
};
