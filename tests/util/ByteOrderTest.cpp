#include "util/ByteOrder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

template <typename T>
void ExpectBothWays(unsigned int (*write)(T, unsigned char*), T (*read)(const unsigned char*),
                    T value, const Bytes& expected) {
    Bytes out(9, 0xEE);
    Bytes wanted = expected;
    wanted.resize(out.size(), 0xEE);
    EXPECT_EQ(write(value, out.data()), expected.size());
    EXPECT_EQ(out, wanted);
    EXPECT_EQ(read(expected.data()), value);
}

TEST(ByteOrder, SingleNumbers) {
    ExpectBothWays<short>(CopyInt16ToByteBuffer, CopyByteBufferToInt16, -2, {0xFF, 0xFE});
    ExpectBothWays<unsigned short>(CopyUint16ToByteBuffer, CopyByteBufferToUint16, 0xFEDC,
                                   {0xFE, 0xDC});
    ExpectBothWays<int>(CopyInt32ToByteBuffer, CopyByteBufferToInt32, -0x01020304,
                        {0xFE, 0xFD, 0xFC, 0xFC});
    ExpectBothWays<unsigned int>(CopyUint32ToByteBuffer, CopyByteBufferToUint32, 0x89ABCDEF,
                                 {0x89, 0xAB, 0xCD, 0xEF});
    ExpectBothWays<long long>(CopyInt64ToByteBuffer, CopyByteBufferToInt64, -2,
                              {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE});
    ExpectBothWays<unsigned long long>(CopyUint64ToByteBuffer, CopyByteBufferToUint64,
                                       0xFEDCBA9876543210,
                                       {0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54, 0x32, 0x10});
    ExpectBothWays<unsigned short>(CopyUint16ToLittleEndianBuffer, CopyLittleEndianBufferToUint16,
                                   0xFC4C, {0x4C, 0xFC});
    ExpectBothWays<unsigned int>(CopyUint32ToLittleEndianBuffer, CopyLittleEndianBufferToUint32,
                                 0x89ABCDEF, {0xEF, 0xCD, 0xAB, 0x89});
}

template <typename T>
void ExpectArrays(unsigned int (*write)(const T*, unsigned int, unsigned char*),
                  unsigned int (*read)(const unsigned char*, T*, unsigned int)) {
    const T values[2] = {static_cast<T>(-2), static_cast<T>(0x0102)};
    unsigned char bytes[2 * sizeof(T)] = {};
    EXPECT_EQ(write(values, 2, bytes), 2 * sizeof(T));
    EXPECT_EQ(bytes[sizeof(T) - 1], 0xFE);
    EXPECT_EQ(bytes[2 * sizeof(T) - 2], 0x01);
    T back[2] = {};
    EXPECT_EQ(read(bytes, back, 2), 2 * sizeof(T));
    EXPECT_EQ(back[0], values[0]);
    EXPECT_EQ(back[1], values[1]);
    EXPECT_EQ(write(nullptr, 2, bytes), 0U);
    EXPECT_EQ(write(values, 0, bytes), 0U);
    EXPECT_EQ(write(values, 2, nullptr), 0U);
    EXPECT_EQ(read(nullptr, back, 2), 0U);
    EXPECT_EQ(read(bytes, back, 0), 0U);
    EXPECT_EQ(read(bytes, nullptr, 2), 0U);
}

TEST(ByteOrder, Arrays) {
    ExpectArrays<short>(CopyInt16ArrayToByteBuffer, CopyByteBufferToInt16Array);
    ExpectArrays<unsigned short>(CopyUInt16ArrayToByteBuffer, CopyByteBufferToUInt16Array);
    ExpectArrays<int>(CopyInt32ArrayToByteBuffer, CopyByteBufferToInt32Array);
    ExpectArrays<unsigned int>(CopyUInt32ArrayToByteBuffer, CopyByteBufferToUInt32Array);
    ExpectArrays<long long>(CopyInt64ArrayToByteBuffer, CopyByteBufferToInt64Array);
    ExpectArrays<unsigned long long>(CopyUInt64ArrayToByteBuffer, CopyByteBufferToUInt64Array);
}

TEST(ByteOrder, Leb128) {
    const struct {
        unsigned int value;
        Bytes bytes;
    } cases[] = {
        {0, {0x00}},
        {127, {0x7F}},
        {128, {0x80, 0x01}},
        {0x3FFF, {0xFF, 0x7F}},
        {0x4000, {0x80, 0x80, 0x01}},
        {0xFFFFFFFF, {0xFF, 0xFF, 0xFF, 0xFF, 0x0F}},
    };
    for (const auto& c : cases) {
        Bytes out(5, 0);
        out.resize(CopyUint32ToByteBufferLEB128(c.value, out.data()));
        EXPECT_EQ(out, c.bytes);
        unsigned char used = 0;
        EXPECT_EQ(CopyByteBufferLEB128ToUint32(c.bytes.data(), &used), c.value);
        EXPECT_EQ(used, c.bytes.size());
    }
    // A sixth byte is never read, and what leaves 32 bits is lost.
    const Bytes endless = {0x81, 0x80, 0x80, 0x80, 0xFF};
    unsigned char used = 0;
    EXPECT_EQ(CopyByteBufferLEB128ToUint32(endless.data(), &used), 0xF0000001U);
    EXPECT_EQ(used, 5);
    EXPECT_EQ(CopyByteBufferLEB128ToUint32(endless.data(), nullptr), 0xF0000001U);
}

}  // namespace
