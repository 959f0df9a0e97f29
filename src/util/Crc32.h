#pragma once

// CRC-32 as in ISO/IEC 8802-3 (reflected, polynomial 0xEDB88320, initial value all ones, final
// inversion), computed whole or piece by piece. Any thread, once the table is built.

inline constexpr unsigned int INITIAL_CRC_VALUE = 0xFFFFFFFFU;

// Builds the process-wide table once; later calls do nothing. Safe to call from any thread.
void make_crc_table();

// The running value, not inverted, after len more bytes. make_crc_table must have run before.
unsigned int update_crc(unsigned int crc, const unsigned char* buf, unsigned int len);

// The last piece: the inverse of update_crc, or of crc itself when buf is null or len is 0.
unsigned int final_update_crc(unsigned int crc, const unsigned char* buf, unsigned int len);

// The CRC-32 of one block.
unsigned int crc(const unsigned char* buf, unsigned int len);
