#include "util/Crc32.h"

#include <array>

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

}  // namespace

unsigned int update_crc(unsigned int crc, const unsigned char* buf, unsigned int len) {
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
