#include "util/ByteOrder.h"

unsigned int CopyUint32ToByteBufferLEB128(unsigned int value, unsigned char* bytes) {
    unsigned int count = 0;
    do {
        const unsigned int more = value >= 0x80 ? 0x80 : 0;
        bytes[count++] = static_cast<unsigned char>((value & 0x7F) | more);
        value >>= 7;
    } while (value != 0);
    return count;
}

unsigned int CopyByteBufferLEB128ToUint32(const unsigned char* bytes, unsigned char* used) {
    unsigned int value = 0;
    unsigned char count = 0;
    bool more = true;
    while (more && count < 5) {
        // What does not fit 32 bits is dropped.
        value |= static_cast<unsigned int>((bytes[count] & 0x7FULL) << (7 * count) & 0xFFFFFFFFU);
        more = bytes[count] >= 0x80;
        ++count;
    }
    if (used != nullptr) {
        *used = count;
    }
    return value;
}
