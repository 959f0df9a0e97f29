#pragma once

#include <cstdint>

// Arithmetic modulo 2^32, for addresses and sizes that may wrap. By name, so that a checker for
// unsigned wraps reports only those that nobody meant.

constexpr std::uint32_t WrappingAdd(std::uint32_t left, std::uint32_t right) {
    return static_cast<std::uint32_t>(std::uint64_t{left} + right);
}

constexpr std::uint32_t WrappingSubtract(std::uint32_t left, std::uint32_t right) {
    return static_cast<std::uint32_t>((std::uint64_t{left} | 0x100000000U) - right);
}

constexpr std::uint32_t WrappingMultiply(std::uint32_t left, std::uint32_t right) {
    return static_cast<std::uint32_t>(std::uint64_t{left} * right);
}
