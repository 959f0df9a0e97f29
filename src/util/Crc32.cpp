#include "util/Crc32.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include <array>
#include <cstdint>

#include "util/ByteOrder.h"

namespace {

constexpr unsigned int POLYNOMIAL = 0xEDB88320U;

// Eight bytes are taken at a time: table k holds the value for a byte that k more bytes follow, so
// the eight look-ups do not wait for each other. Table 0 is the classic one.
constexpr unsigned int SLICES = 8;
using CrcTables = std::array<std::array<unsigned int, 256>, SLICES>;

constexpr CrcTables MakeCrcTables() {
    CrcTables tables{};
    for (unsigned int n = 0; n < 256; ++n) {
        unsigned int c = n;
        for (int bit = 0; bit < 8; ++bit) {
            c = (c & 1U) != 0 ? c >> 1 ^ POLYNOMIAL : c >> 1;
        }
        tables[0][n] = c;
    }
    for (unsigned int k = 1; k < SLICES; ++k) {
        for (unsigned int n = 0; n < 256; ++n) {
            const unsigned int c = tables[k - 1][n];
            tables[k][n] = tables[0][c & 0xFF] ^ c >> 8;
        }
    }
    return tables;
}

constexpr CrcTables g_CrcTables = MakeCrcTables();

unsigned int UpdateByEight(unsigned int crc, const unsigned char* buf) {
    const unsigned int low = crc ^ CopyLittleEndianBufferToUint32(buf);
    const unsigned int high = CopyLittleEndianBufferToUint32(buf + 4);
    return g_CrcTables[7][low & 0xFF] ^ g_CrcTables[6][low >> 8 & 0xFF] ^
           g_CrcTables[5][low >> 16 & 0xFF] ^ g_CrcTables[4][low >> 24] ^
           g_CrcTables[3][high & 0xFF] ^ g_CrcTables[2][high >> 8 & 0xFF] ^
           g_CrcTables[1][high >> 16 & 0xFF] ^ g_CrcTables[0][high >> 24];
}

#if defined(__x86_64__)

// Long data are folded by multiplication without carries: 16 bytes times the remainder of x^n
// become 16 bytes with the same CRC, n bits further on. Four of them at a time do not wait for
// each other.
constexpr unsigned int FOLDED_SIZE = 64;

// x^n modulo the polynomial, its lowest bit first.
constexpr long long PowerOfX(unsigned int n) {
    unsigned int power = 0x80000000U;
    for (; n > 0; --n) {
        power = (power & 1U) != 0 ? power >> 1 ^ POLYNOMIAL : power >> 1;
    }
    const std::uint64_t shifted = std::uint64_t{power} << 1;
    return static_cast<long long>(shifted);
}

__m128i Load(const unsigned char* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

[[gnu::target("pclmul")]] __m128i Fold(__m128i value, __m128i powers, __m128i next) {
    const __m128i low = _mm_clmulepi64_si128(value, powers, 0x00);
    const __m128i high = _mm_clmulepi64_si128(value, powers, 0x11);
    return _mm_xor_si128(_mm_xor_si128(low, high), next);
}

// len is a multiple of FOLDED_SIZE.
[[gnu::target("pclmul")]] unsigned int UpdateByFolding(unsigned int crc, const unsigned char* buf,
                                                       unsigned int len) {
    constexpr unsigned int STEP = 128;  // bits
    const __m128i far = _mm_set_epi64x(PowerOfX(4 * STEP - 32), PowerOfX(4 * STEP + 32));
    const __m128i near = _mm_set_epi64x(PowerOfX(STEP - 32), PowerOfX(STEP + 32));
    __m128i values[] = {Load(buf), Load(buf + 16), Load(buf + 32), Load(buf + 48)};
    values[0] = _mm_xor_si128(values[0], _mm_cvtsi32_si128(static_cast<int>(crc)));
    for (unsigned int i = FOLDED_SIZE; i < len; i += FOLDED_SIZE) {
        for (unsigned int k = 0; k < 4; ++k) {
            values[k] = Fold(values[k], far, Load(buf + i + std::size_t{16} * k));
        }
    }
    __m128i value = values[0];
    for (unsigned int k = 1; k < 4; ++k) {
        value = Fold(value, near, values[k]);
    }
    std::array<unsigned char, 16> rest;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(rest.data()), value);
    return UpdateByEight(UpdateByEight(0, rest.data()), rest.data() + SLICES);
}

#endif

}  // namespace

unsigned int update_crc(unsigned int crc, const unsigned char* buf, unsigned int len) {
#if defined(__x86_64__)
    static const bool s_bCanFold = __builtin_cpu_supports("pclmul") != 0;
    if (len >= 4 * FOLDED_SIZE && s_bCanFold) {
        const unsigned int folded = len / FOLDED_SIZE * FOLDED_SIZE;
        crc = UpdateByFolding(crc, buf, folded);
        buf += folded;
        len -= folded;
    }
#endif
    for (; len >= SLICES; len -= SLICES, buf += SLICES) {
        crc = UpdateByEight(crc, buf);
    }
    for (; len > 0; --len, ++buf) {
        crc = g_CrcTables[0][(crc ^ *buf) & 0xFF] ^ crc >> 8;
    }
    return crc;
}

unsigned int final_update_crc(unsigned int crc, const unsigned char* buf, unsigned int len) {
    return buf == nullptr || len == 0 ? ~crc : ~update_crc(crc, buf, len);
}

unsigned int crc(const unsigned char* buf, unsigned int len) {
    return ~update_crc(INITIAL_CRC_VALUE, buf, len);
}
