#pragma once

#include <algorithm>
#include <array>
#include <bit>

// Integers into byte arrays and back. Writers return the number of bytes written; no pointer may be
// null unless the contract says so. Everything that goes to a chip is little-endian.

template <typename T, std::endian ORDER = std::endian::big>
unsigned int WriteInteger(T value, unsigned char* bytes) {
    auto raw = std::bit_cast<std::array<unsigned char, sizeof(T)>>(value);
    if constexpr (ORDER != std::endian::native) {
        std::reverse(raw.begin(), raw.end());
    }
    std::copy(raw.begin(), raw.end(), bytes);
    return sizeof(T);
}

template <typename T, std::endian ORDER = std::endian::big>
T ReadInteger(const unsigned char* bytes) {
    std::array<unsigned char, sizeof(T)> raw;
    std::copy_n(bytes, raw.size(), raw.begin());
    if constexpr (ORDER != std::endian::native) {
        std::reverse(raw.begin(), raw.end());
    }
    return std::bit_cast<T>(raw);
}

// Big-endian, element after element. They return the bytes written or read: count times the
// element's width, or 0, with nothing touched, when a pointer is null.
template <typename T>
unsigned int WriteIntegers(const T* values, unsigned int count, unsigned char* bytes) {
    count = values == nullptr || bytes == nullptr ? 0 : count;
    for (unsigned int i = 0; i < count; ++i) {
        bytes += WriteInteger(values[i], bytes);
    }
    return count * static_cast<unsigned int>(sizeof(T));
}

template <typename T>
unsigned int ReadIntegers(const unsigned char* bytes, T* values, unsigned int count) {
    count = values == nullptr || bytes == nullptr ? 0 : count;
    for (unsigned int i = 0; i < count; ++i, bytes += sizeof(T)) {
        values[i] = ReadInteger<T>(bytes);
    }
    return count * static_cast<unsigned int>(sizeof(T));
}

inline constexpr auto& CopyUint16ToLittleEndianBuffer =
    WriteInteger<unsigned short, std::endian::little>;
inline constexpr auto& CopyUint32ToLittleEndianBuffer =
    WriteInteger<unsigned int, std::endian::little>;
inline constexpr auto& CopyLittleEndianBufferToUint16 =
    ReadInteger<unsigned short, std::endian::little>;
inline constexpr auto& CopyLittleEndianBufferToUint32 =
    ReadInteger<unsigned int, std::endian::little>;

inline constexpr auto& CopyInt16ToByteBuffer = WriteInteger<short>;
inline constexpr auto& CopyUint16ToByteBuffer = WriteInteger<unsigned short>;
inline constexpr auto& CopyInt32ToByteBuffer = WriteInteger<int>;
inline constexpr auto& CopyUint32ToByteBuffer = WriteInteger<unsigned int>;
inline constexpr auto& CopyInt64ToByteBuffer = WriteInteger<long long>;
inline constexpr auto& CopyUint64ToByteBuffer = WriteInteger<unsigned long long>;
inline constexpr auto& CopyByteBufferToInt16 = ReadInteger<short>;
inline constexpr auto& CopyByteBufferToUint16 = ReadInteger<unsigned short>;
inline constexpr auto& CopyByteBufferToInt32 = ReadInteger<int>;
inline constexpr auto& CopyByteBufferToUint32 = ReadInteger<unsigned int>;
inline constexpr auto& CopyByteBufferToInt64 = ReadInteger<long long>;
inline constexpr auto& CopyByteBufferToUint64 = ReadInteger<unsigned long long>;

inline constexpr auto& CopyInt16ArrayToByteBuffer = WriteIntegers<short>;
inline constexpr auto& CopyUInt16ArrayToByteBuffer = WriteIntegers<unsigned short>;
inline constexpr auto& CopyInt32ArrayToByteBuffer = WriteIntegers<int>;
inline constexpr auto& CopyUInt32ArrayToByteBuffer = WriteIntegers<unsigned int>;
inline constexpr auto& CopyInt64ArrayToByteBuffer = WriteIntegers<long long>;
inline constexpr auto& CopyUInt64ArrayToByteBuffer = WriteIntegers<unsigned long long>;
inline constexpr auto& CopyByteBufferToInt16Array = ReadIntegers<short>;
inline constexpr auto& CopyByteBufferToUInt16Array = ReadIntegers<unsigned short>;
inline constexpr auto& CopyByteBufferToInt32Array = ReadIntegers<int>;
inline constexpr auto& CopyByteBufferToUInt32Array = ReadIntegers<unsigned int>;
inline constexpr auto& CopyByteBufferToInt64Array = ReadIntegers<long long>;
inline constexpr auto& CopyByteBufferToUInt64Array = ReadIntegers<unsigned long long>;

// LEB128, 1 to 5 bytes (unsigned, as in the DWARF standard, section "Variable Length Data").
unsigned int CopyUint32ToByteBufferLEB128(unsigned int value, unsigned char* bytes);

// Takes bytes up to the first one below 0x80, five at most; *used, which may be null, receives how
// many were taken.
unsigned int CopyByteBufferLEB128ToUint32(const unsigned char* bytes, unsigned char* used);
