#include "transport/ByteRing.h"

#include "transport/RingCopy.h"

// Helgrind does not know what orders memory in C++. A build that runs under it says here that what
// was done before a count was raised is complete for whoever has read that count.
#if defined(HCILOAD_VALGRIND)
#include <valgrind/helgrind.h>
#else
#define ANNOTATE_HAPPENS_BEFORE(count)
#define ANNOTATE_HAPPENS_AFTER(count)
#endif

bool CByteRing::Put(std::span<const unsigned char> bytes, std::uint64_t limit) {
    if (CountHeld() + bytes.size() > limit) {
        return false;
    }
    ANNOTATE_HAPPENS_AFTER(&m_nTaken);
    CopyIntoRing(m_Bytes, m_nPut % SIZE, bytes);
    ANNOTATE_HAPPENS_BEFORE(&m_nPut);
    m_nPut += bytes.size();
    return true;
}

unsigned int CByteRing::Take(std::span<unsigned char> room) {
    const auto count = static_cast<unsigned int>(std::min<std::uint64_t>(room.size(), CountHeld()));
    ANNOTATE_HAPPENS_AFTER(&m_nPut);
    CopyFromRing(m_Bytes, m_nTaken % SIZE, room.first(count));
    ANNOTATE_HAPPENS_BEFORE(&m_nTaken);
    m_nTaken += count;
    return count;
}

// The consumer's count is read first: it never passes the producer's, so the difference cannot fall
// below zero while the other thread moves on.
std::uint64_t CByteRing::CountHeld() const {
    const std::uint64_t taken = m_nTaken;
    return m_nPut - taken;
}
