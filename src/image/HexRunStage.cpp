#include "image/HexRunStage.h"

#include <sys/mman.h>

#include <cstring>
#include <utility>

namespace {

// A run of this size hands its block over to the range. A shorter one is copied: a new block would
// cost more time and memory.
constexpr unsigned int SIZE_TO_HAND_OVER = CHexRunStage::CAPACITY / 4;

constexpr std::size_t BLOCK_SIZE = std::size_t{CHexRunStage::CAPACITY} + HEX_MAX_DATA_SIZE;
constexpr std::size_t HUGE_PAGE_SIZE = std::size_t{2} * 1024 * 1024;

// Not cleared: pages that no run reaches never take memory.
std::unique_ptr<unsigned char[]> MakeBlock() {
    auto block = std::make_unique_for_overwrite<unsigned char[]>(BLOCK_SIZE);
#if defined(MADV_HUGEPAGE)
    // Without large pages a long run spends most of its time in page faults. The first 2 MiB keep
    // small pages, so that a small image takes little memory.
    void* start = block.get() + HUGE_PAGE_SIZE;
    std::size_t size = BLOCK_SIZE - HUGE_PAGE_SIZE;
    if (std::align(HUGE_PAGE_SIZE, HUGE_PAGE_SIZE, start, size) != nullptr) {
        ::madvise(start, size / HUGE_PAGE_SIZE * HUGE_PAGE_SIZE, MADV_HUGEPAGE);
    }
#endif
    return block;
}

}  // namespace

CHexRunStage::CHexRunStage() : m_pBlock(MakeBlock()) {}

void CHexRunStage::MoveRunTo(CByteBuffer& range, unsigned int tailCount) {
    const unsigned char* tail = GetTail();
    if (m_nSize < SIZE_TO_HAND_OVER) {
        range.AssignData(m_pBlock.get(), m_nSize, BYTE_BUFFER_OWNED);
    } else {
        range = CByteBuffer(std::exchange(m_pBlock, MakeBlock()), m_nSize);
    }
    range.SetBaseAddress(m_nStart);
    std::memmove(m_pBlock.get(), tail, tailCount);
    m_nSize = 0;
}
