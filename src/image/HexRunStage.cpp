#include "image/HexRunStage.h"

#include <sys/mman.h>

#include <cstring>
#include <utility>

namespace {

// A run of this size hands its block over to the range; a shorter one is copied, for a new block
// would cost more and hold more than it needs.
constexpr unsigned int SIZE_TO_HAND_OVER = CHexRunStage::CAPACITY / 4;

constexpr std::size_t BLOCK_SIZE = std::size_t{CHexRunStage::CAPACITY} + HEX_MAX_DATA_SIZE;
constexpr std::size_t HUGE_PAGE_SIZE = std::size_t{2} * 1024 * 1024;

// A long run spends most of its time in page faults unless the pages are large. The first of them
// stay small, so that a small image costs no more than it needs.
void AskForLargePages(unsigned char* block) {
#if defined(MADV_HUGEPAGE)
    void* start = block + HUGE_PAGE_SIZE;
    std::size_t size = BLOCK_SIZE - HUGE_PAGE_SIZE;
    if (std::align(HUGE_PAGE_SIZE, HUGE_PAGE_SIZE, start, size) != nullptr) {
        ::madvise(start, size / HUGE_PAGE_SIZE * HUGE_PAGE_SIZE, MADV_HUGEPAGE);
    }
#endif
}

// The block is not cleared: pages that no run reaches are never touched.
std::unique_ptr<unsigned char[]> MakeBlock() {
    auto block = std::make_unique_for_overwrite<unsigned char[]>(BLOCK_SIZE);
    AskForLargePages(block.get());
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
