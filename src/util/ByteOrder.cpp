#include "util/ByteOrder.h"

namespace {

template <typename T>
unsigned int WriteBigEndian(T value, unsigned char* bytes) {
    auto rest = static_cast<unsigned long long>(value);
    for (unsigned int i = sizeof(T); i > 0; --i, rest >>= 8) {
        bytes[i - 1] = static_cast<unsigned char>(rest);
    }
    return sizeof(T);
}

template <typename T>
T ReadBigEndian(const unsigned char* bytes) {
    unsigned long long value = 0;
    for (unsigned int i = 0; i < sizeof(T); ++i) {
        value = value << 8 | bytes[i];
    }
    return static_cast<T>(value);
}

template <typename T>
unsigned int WriteArray(const T* values, unsigned int count, unsigned char* bytes) {
    if (values == nullptr || bytes == nullptr) {
        return 0;
    }
    for (unsigned int i = 0; i < count; ++i) {
        bytes += WriteBigEndian(values[i], bytes);
    }
    return count * static_cast<unsigned int>(sizeof(T));
}

template <typename T>
unsigned int ReadArray(const unsigned char* bytes, T* values, unsigned int count) {
    if (values == nullptr || bytes == nullptr) {
        return 0;
    }
    for (unsigned int i = 0; i < count; ++i, bytes += sizeof(T)) {
        values[i] = ReadBigEndian<T>(bytes);
    }
    return count * static_cast<unsigned int>(sizeof(T));
}

}  // namespace

unsigned int CopyUint16ToLittleEndianBuffer(unsigned short value, unsigned char* bytes) {
    bytes[0] = static_cast<unsigned char>(value);
    bytes[1] = static_cast<unsigned char>(value >> 8);
    return 2;
}

unsigned int CopyUint32ToLittleEndianBuffer(unsigned int value, unsigned char* bytes) {
    for (int i = 0; i < 4; ++i, value >>= 8) {
        bytes[i] = static_cast<unsigned char>(value);
    }
    return 4;
}

unsigned short CopyLittleEndianBufferToUint16(const unsigned char* bytes) {
    return static_cast<unsigned short>(bytes[0] | bytes[1] << 8);
}

unsigned int CopyLittleEndianBufferToUint32(const unsigned char* bytes) {
    return bytes[0] | static_cast<unsigned int>(bytes[1]) << 8 |
           static_cast<unsigned int>(bytes[2]) << 16 | static_cast<unsigned int>(bytes[3]) << 24;
}

unsigned int CopyInt16ToByteBuffer(short value, unsigned char* bytes) {
    return WriteBigEndian(value, bytes);
}

unsigned int CopyUint16ToByteBuffer(unsigned short value, unsigned char* bytes) {
    return WriteBigEndian(value, bytes);
}

unsigned int CopyInt32ToByteBuffer(int value, unsigned char* bytes) {
    return WriteBigEndian(value, bytes);
}

unsigned int CopyUint32ToByteBuffer(unsigned int value, unsigned char* bytes) {
    return WriteBigEndian(value, bytes);
}

unsigned int CopyInt64ToByteBuffer(long long value, unsigned char* bytes) {
    return WriteBigEndian(value, bytes);
}

unsigned int CopyUint64ToByteBuffer(unsigned long long value, unsigned char* bytes) {
    return WriteBigEndian(value, bytes);
}

short CopyByteBufferToInt16(const unsigned char* bytes) {
    return ReadBigEndian<short>(bytes);
}

unsigned short CopyByteBufferToUint16(const unsigned char* bytes) {
    return ReadBigEndian<unsigned short>(bytes);
}

int CopyByteBufferToInt32(const unsigned char* bytes) {
    return ReadBigEndian<int>(bytes);
}

unsigned int CopyByteBufferToUint32(const unsigned char* bytes) {
    return ReadBigEndian<unsigned int>(bytes);
}

long long CopyByteBufferToInt64(const unsigned char* bytes) {
    return ReadBigEndian<long long>(bytes);
}

unsigned long long CopyByteBufferToUint64(const unsigned char* bytes) {
    return ReadBigEndian<unsigned long long>(bytes);
}

unsigned int CopyInt16ArrayToByteBuffer(const short* values, unsigned int count,
                                        unsigned char* bytes) {
    return WriteArray(values, count, bytes);
}

unsigned int CopyUInt16ArrayToByteBuffer(const unsigned short* values, unsigned int count,
                                         unsigned char* bytes) {
    return WriteArray(values, count, bytes);
}

unsigned int CopyInt32ArrayToByteBuffer(const int* values, unsigned int count,
                                        unsigned char* bytes) {
    return WriteArray(values, count, bytes);
}

unsigned int CopyUInt32ArrayToByteBuffer(const unsigned int* values, unsigned int count,
                                         unsigned char* bytes) {
    return WriteArray(values, count, bytes);
}

unsigned int CopyInt64ArrayToByteBuffer(const long long* values, unsigned int count,
                                        unsigned char* bytes) {
    return WriteArray(values, count, bytes);
}

unsigned int CopyUInt64ArrayToByteBuffer(const unsigned long long* values, unsigned int count,
                                         unsigned char* bytes) {
    return WriteArray(values, count, bytes);
}

unsigned int CopyByteBufferToInt16Array(const unsigned char* bytes, short* values,
                                        unsigned int count) {
    return ReadArray(bytes, values, count);
}

unsigned int CopyByteBufferToUInt16Array(const unsigned char* bytes, unsigned short* values,
                                         unsigned int count) {
    return ReadArray(bytes, values, count);
}

unsigned int CopyByteBufferToInt32Array(const unsigned char* bytes, int* values,
                                        unsigned int count) {
    return ReadArray(bytes, values, count);
}

unsigned int CopyByteBufferToUInt32Array(const unsigned char* bytes, unsigned int* values,
                                         unsigned int count) {
    return ReadArray(bytes, values, count);
}

unsigned int CopyByteBufferToInt64Array(const unsigned char* bytes, long long* values,
                                        unsigned int count) {
    return ReadArray(bytes, values, count);
}

unsigned int CopyByteBufferToUInt64Array(const unsigned char* bytes, unsigned long long* values,
                                         unsigned int count) {
    return ReadArray(bytes, values, count);
}

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
