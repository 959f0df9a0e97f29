#pragma once

#include <algorithm>
#include <span>

// Copies between a ring and a plain run of bytes, which continues at the ring's first byte where it
// passes the last one. position: at most the ring's size; the run: not longer than the ring.

inline void CopyIntoRing(std::span<unsigned char> ring, std::size_t position,
                         std::span<const unsigned char> bytes) {
    const std::size_t first = std::min(bytes.size(), ring.size() - position);
    std::copy_n(bytes.data(), first, ring.data() + position);
    std::copy_n(bytes.data() + first, bytes.size() - first, ring.data());
}

inline void CopyFromRing(std::span<const unsigned char> ring, std::size_t position,
                         std::span<unsigned char> bytes) {
    const std::size_t first = std::min(bytes.size(), ring.size() - position);
    std::copy_n(ring.data() + position, first, bytes.data());
    std::copy_n(ring.data(), bytes.size() - first, bytes.data() + first);
}
