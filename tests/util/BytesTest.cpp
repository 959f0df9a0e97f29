#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "util/ByteBuffer.h"
#include "util/ByteOrder.h"
#include "util/Crc32.h"

namespace {

using Bytes = std::vector<unsigned char>;

static_assert(std::is_nothrow_move_constructible_v<CByteBuffer>);
static_assert(std::is_nothrow_move_assignable_v<CByteBuffer>);

// Mode, bytes, base address, flag and name.
std::string Show(const CByteBuffer& buffer) {
    const auto* bytes = reinterpret_cast<const char*>(buffer.GetDataBuffer());
    EXPECT_EQ(bytes == nullptr, buffer.GetDataByteSize() == 0);
    return std::to_string(buffer.GetStorageMode()) + " \"" +
           std::string(bytes, buffer.GetDataByteSize()) + "\" " +
           std::to_string(buffer.GetBaseAddress()) + ' ' + std::to_string(buffer.GetFlag()) + ' ' +
           (buffer.GetName() == nullptr ? "none" : buffer.GetName());
}

unsigned char* NewBlock(const char* text) {
    const std::string_view bytes(text);
    auto* const block = new unsigned char[bytes.size()];
    std::ranges::copy(bytes, block);
    return block;
}

// A leak checker sees that what is adopted is freed, a memory checker that nothing else is.
TEST(ByteBuffer, EachModeCopiesBorrowsOrAdopts) {
    unsigned char text[] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(Show(CByteBuffer(3U, '~')), "1 \"~~~\" 0 0 none");
    EXPECT_EQ(Show(CByteBuffer(0U, 1)), "0 \"\" 0 0 none");
    EXPECT_EQ(Show(CByteBuffer(nullptr, 4, 3)), "0 \"\" 0 0 none");
    EXPECT_EQ(Show(CByteBuffer(text, 0, 2)), "0 \"\" 0 0 none");
    for (const int number : {0, 1, 2, 3, 9}) {
        const auto mode = static_cast<unsigned char>(number);
        const std::string copied = mode == 2 ? "2" : "1";
        CByteBuffer source(mode == 3 ? NewBlock("abcd") : text, 4, mode);
        EXPECT_EQ(source.GetDataBuffer() == text, mode != 1 && mode != 3);
        source.SetBaseAddress(5);
        source.SetFlag(7);
        source.SetName("name");
        EXPECT_EQ(Show(source), std::to_string(mode) + " \"abcd\" 5 7 name");
        CByteBuffer target(NewBlock("old"), 3, 3);
        target.SetName("gone");
        target = source;
        EXPECT_EQ(Show(target), copied + " \"abcd\" 5 7 name");
        EXPECT_EQ(target.GetDataBuffer() == source.GetDataBuffer(), mode == 2);
        target.AssignData(text + 1, 2, mode);
        EXPECT_EQ(Show(target), copied + " \"bc\" 5 7 name");
        EXPECT_EQ(target.GetDataBuffer() == text + 1, mode == 2);
        target.AssignData(text, 0, mode);
        target.SetName(target.GetName() + 2);
        EXPECT_EQ(Show(target), "0 \"\" 5 7 me");
        const unsigned char* const block = source.GetDataBuffer();
        target = std::move(source);
        EXPECT_EQ(Show(target), std::to_string(mode) + " \"abcd\" 5 7 name");
        EXPECT_EQ(target.GetDataBuffer() == block, mode != 1);
        target.SetName("");
        EXPECT_EQ(target.GetName(), nullptr);
    }
}

TEST(ByteBuffer, AppendingFreesTheOldBlockWhateverItsMode) {
    unsigned char text[] = {'c'};
    CByteBuffer borrowed(NewBlock("ab"), 2, 2);
    borrowed.AppendData(text, 0);
    borrowed.AppendData(nullptr, 3);
    EXPECT_EQ(Show(borrowed), "2 \"ab\" 0 0 none");
    borrowed.AppendData(text, 1);
    EXPECT_EQ(Show(borrowed), "1 \"abc\" 0 0 none");
    borrowed = CByteBuffer(std::unique_ptr<unsigned char[]>(NewBlock("abcdef")), 5);
    EXPECT_EQ(Show(borrowed), "1 \"abcde\" 0 0 none");
}

// Up to 16 bytes are kept inside the object, more of them outside: every way from one to the other.
TEST(ByteBuffer, ShortAndLongBytesChangePlaces) {
    std::string text = "sixteen bytes...and some more";
    auto* bytes = reinterpret_cast<unsigned char*>(text.data());
    for (const unsigned int before : {0U, 1U, 16U, 17U, 29U}) {
        for (const unsigned int after : {1U, 15U, 16U, 17U, 29U}) {
            CByteBuffer buffer(bytes, before, 1);
            CByteBuffer other(bytes, after, 1);
            std::swap(buffer, other);
            buffer.AppendData(buffer.GetDataBuffer(), after);
            buffer.AppendData(other.GetDataBuffer(), before);
            const std::string end = text.substr(0, after);
            EXPECT_EQ(Show(buffer), "1 \"" + end + end + text.substr(0, before) + "\" 0 0 none");
            buffer.AssignData(buffer.GetDataBuffer() + after - 1, 2, 1);
            EXPECT_EQ(Show(buffer), "1 \"" + end.substr(after - 1) + "s\" 0 0 none");
        }
    }
}

template <typename T>
void CheckBigEndian(unsigned int (*write)(T, unsigned char*), T (*read)(const unsigned char*),
                    unsigned int (*writeAll)(const T*, unsigned int, unsigned char*),
                    unsigned int (*readAll)(const unsigned char*, T*, unsigned int)) {
    const Bytes pattern = {0x81, 0x92, 0xA3, 0xB4, 0xC5, 0xD6, 0xE7, 0xF8};
    const T values[] = {1, static_cast<T>(0x8192A3B4C5D6E7F8)};
    constexpr unsigned int width = sizeof(T);
    Bytes expected(width - 1);
    expected.push_back(1);
    expected.insert(expected.end(), pattern.end() - width, pattern.end());
    Bytes out(expected.size());
    EXPECT_EQ(writeAll(values, 2, out.data()), 2 * width);
    EXPECT_EQ(out, expected);
    EXPECT_EQ(write(values[1], out.data()), width);
    EXPECT_EQ(Bytes(out.begin(), out.begin() + width), Bytes(out.begin() + width, out.end()));
    T back[2] = {};
    EXPECT_EQ(readAll(expected.data(), back, 2), 2 * width);
    EXPECT_TRUE(back[0] == 1 && back[1] == values[1] && read(out.data()) == values[1]);
    EXPECT_EQ(writeAll(nullptr, 2, out.data()) + writeAll(values, 2, nullptr), 0U);
    EXPECT_EQ(readAll(nullptr, back, 2) + readAll(out.data(), nullptr, 2), 0U);
}

#define CHECK_BIG_ENDIAN(type, name, arrayName)                            \
    CheckBigEndian<type>(Copy##name##ToByteBuffer, CopyByteBufferTo##name, \
                         Copy##arrayName##ArrayToByteBuffer, CopyByteBufferTo##arrayName##Array)

TEST(ByteOrder, NumbersOfEachWidth) {
    CHECK_BIG_ENDIAN(short, Int16, Int16);
    CHECK_BIG_ENDIAN(unsigned short, Uint16, UInt16);
    CHECK_BIG_ENDIAN(int, Int32, Int32);
    CHECK_BIG_ENDIAN(unsigned int, Uint32, UInt32);
    CHECK_BIG_ENDIAN(long long, Int64, Int64);
    CHECK_BIG_ENDIAN(unsigned long long, Uint64, UInt64);
    Bytes out(6);
    EXPECT_EQ(CopyUint16ToLittleEndianBuffer(0xFC4C, out.data()), 2U);
    EXPECT_EQ(CopyUint32ToLittleEndianBuffer(0x89ABCDEF, out.data() + 2), 4U);
    EXPECT_EQ(out, (Bytes{0x4C, 0xFC, 0xEF, 0xCD, 0xAB, 0x89}));
    EXPECT_EQ(CopyLittleEndianBufferToUint16(out.data()), 0xFC4C);
    EXPECT_EQ(CopyLittleEndianBufferToUint32(out.data() + 2), 0x89ABCDEFU);
    // LEB128: a sixth byte is never read, and what leaves 32 bits is lost.
    const Bytes endless = {0x81, 0x80, 0x80, 0x80, 0xFF, 0xFF};
    unsigned char used = 0;
    EXPECT_EQ(CopyByteBufferLEB128ToUint32(endless.data(), &used), 0xF0000001U);
    EXPECT_EQ(used, 5);
}

TEST(Crc32, IsTheSameWholeAndByteByByte) {
    make_crc_table();
    Bytes bytes = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    EXPECT_EQ(crc(bytes.data(), 9), 0xCBF43926U);
    unsigned int part = update_crc(INITIAL_CRC_VALUE, bytes.data(), 9);
    for (unsigned int size = 9; size < 400;) {
        bytes.push_back(static_cast<unsigned char>(size * 75));
        EXPECT_EQ(final_update_crc(part, &bytes[size], 1), crc(bytes.data(), size + 1));
        part = update_crc(part, &bytes[size++], 1);
        EXPECT_EQ(final_update_crc(part, nullptr, 5), crc(bytes.data(), size));
    }
}

}  // namespace
