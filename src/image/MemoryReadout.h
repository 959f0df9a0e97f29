#pragma once

#include <vector>

#include "image/ChipImageByteData.h"

// What to read from the chip's memory, and after the run what was there. Made by the thread that
// prepares the run, then filled by the download thread, and read again once the run is over.
struct CMemoryReadout {
    bool m_bOnlyCRC = false;  // the chip computes the CRC of each area, nothing is read
    CChipImageByteData m_Memory{"", "", ""};  // each range is an area, with room for its bytes
    std::vector<unsigned int> m_CRCs;         // of the areas that are done

    unsigned int CountBytesToRead() const { return m_bOnlyCRC ? 0 : m_Memory.GetTotalByteSize(); }
};
