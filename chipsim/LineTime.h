#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>

// Points in time on the line, in nanoseconds of the steady clock. What is paced takes the time as
// an argument, so that tests make their own.
using LineTime = std::int64_t;

inline constexpr LineTime NS_PER_MS = 1'000'000;
inline constexpr LineTime NS_PER_SECOND = 1'000'000'000;

inline LineTime LineTimeNow() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

// What one byte takes at 10 bits a byte; 0 at baud 0, else at least 1.
inline constexpr LineTime ByteTime(unsigned int baud) {
    return baud == 0 ? 0 : std::max<LineTime>(10 * NS_PER_SECOND / baud, 1);
}
