#pragma once

// CRC-32 as in ISO/IEC 8802-3 (reflected, polynomial 0xEDB88320, initial value all ones, final
// inversion), of a whole block or piece by piece. Any thread.

inline constexpr unsigned int INITIAL_CRC_VALUE = 0xFFFFFFFFU;

// Does nothing, since the compiler makes the table; kept for callers that build it first.
inline void make_crc_table() {}

// The running value, not inverted, after len more bytes.
unsigned int update_crc(unsigned int crc, const unsigned char* buf, unsigned int len);

// The last piece: the inverse of update_crc, or of crc itself when buf is null or len is 0.
unsigned int final_update_crc(unsigned int crc, const unsigned char* buf, unsigned int len);

// The CRC-32 of one block.
unsigned int crc(const unsigned char* buf, unsigned int len);
