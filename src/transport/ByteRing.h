#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <span>

// A ring of 64 KiB between one producer and one consumer thread, without a lock: each thread raises
// one of the two running counts once its bytes are copied. A byte's place is its number modulo the
// size of the ring.
class CByteRing {
public:
    static constexpr unsigned int SIZE = 65536;

    // Producer. Takes all bytes; or none, and returns false, if more than limit would be held.
    [[nodiscard]] bool Put(std::span<const unsigned char> bytes, std::uint64_t limit);

    // Consumer. Fills room with as many bytes as are held and returns their number.
    [[nodiscard]] unsigned int Take(std::span<unsigned char> room);

    // Any thread.
    std::uint64_t CountPut() const { return m_nPut; }
    std::uint64_t CountTaken() const { return m_nTaken; }
    std::uint64_t CountHeld() const;

private:
    std::atomic<std::uint64_t> m_nPut{0};
    std::atomic<std::uint64_t> m_nTaken{0};
    std::array<unsigned char, SIZE> m_Bytes{};
};
