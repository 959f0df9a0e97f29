#include "image/HexRunStage.h"

#include <algorithm>

// The block is not cleared: pages that no run reaches are never touched.
CHexRunStage::CHexRunStage()
    : m_pBytes(std::make_unique_for_overwrite<unsigned char[]>(CAPACITY)) {}

void CHexRunStage::Append(std::span<const unsigned char> bytes) {
    std::copy(bytes.begin(), bytes.end(), m_pBytes.get() + m_nSize);
    m_nSize += static_cast<unsigned int>(bytes.size());
}
