#include "util/ByteBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>

namespace {

constexpr unsigned char operator""_u8(unsigned long long value) {
    return static_cast<unsigned char>(value);
}

std::string BytesOf(const CByteBuffer& buffer) {
    if (buffer.GetDataBuffer() == nullptr) {
        return "";
    }
    return {reinterpret_cast<const char*>(buffer.GetDataBuffer()), buffer.GetDataByteSize()};
}

unsigned char* NewBlock(const char* text) {
    auto* block = new unsigned char[std::strlen(text)];
    std::copy_n(text, std::strlen(text), block);
    return block;
}

struct CByteBufferTest : testing::Test {
    unsigned char m_Source[4] = {'a', 'b', 'c', 'd'};
};

TEST_F(CByteBufferTest, ConstructorsKeepTheStorageModeTheyAreAskedFor) {
    EXPECT_EQ(BytesOf(CByteBuffer(3U, '\x7E')), "~~~");
    EXPECT_EQ(CByteBuffer(3U, 0).GetStorageMode(), BYTE_BUFFER_OWNED);
    EXPECT_EQ(CByteBuffer(0U, 1).GetStorageMode(), BYTE_BUFFER_EMPTY);
    EXPECT_EQ(CByteBuffer(nullptr, 4, 1).GetStorageMode(), BYTE_BUFFER_EMPTY);
    EXPECT_EQ(CByteBuffer(m_Source, 0, 2).GetDataBuffer(), nullptr);

    const CByteBuffer owned(m_Source, 4, 1);
    EXPECT_NE(owned.GetDataBuffer(), m_Source);
    EXPECT_EQ(BytesOf(owned), "abcd");
    for (const unsigned char mode : {0_u8, 2_u8, 9_u8}) {
        const CByteBuffer kept(m_Source, 4, mode);
        EXPECT_EQ(kept.GetDataBuffer(), m_Source);
        EXPECT_EQ(kept.GetStorageMode(), mode);
    }
    const CByteBuffer adopted(NewBlock("xyz"), 3, 3);  // a leak checker sees that it is freed
    EXPECT_EQ(adopted.GetStorageMode(), BYTE_BUFFER_ADOPTED);
}

TEST_F(CByteBufferTest, CopiesShareBorrowedBytesOnly) {
    for (const unsigned char mode : {1_u8, 2_u8, 3_u8, 9_u8}) {
        CByteBuffer source(mode == 3 ? NewBlock("abcd") : m_Source, 4, mode);
        source.SetBaseAddress(0x1234);
        source.SetFlag(7);
        source.SetName("n");
        CByteBuffer target(NewBlock("old"), 3, 3);
        target.SetName("gone");
        target = source;
        for (const CByteBuffer& copy : {CByteBuffer(source), target}) {
            EXPECT_EQ(BytesOf(copy), "abcd");
            EXPECT_EQ(copy.GetDataBuffer() == source.GetDataBuffer(), mode == 2);
            EXPECT_EQ(copy.GetStorageMode(), mode == 2 ? 2 : 1);
            EXPECT_EQ(copy.GetBaseAddress(), 0x1234U);
            EXPECT_EQ(copy.GetFlag(), 7);
            EXPECT_STREQ(copy.GetName(), "n");
            EXPECT_NE(copy.GetName(), source.GetName());
        }
    }
}

TEST_F(CByteBufferTest, MovesTakeEverythingAndLeaveNothing) {
    static_assert(std::is_nothrow_move_constructible_v<CByteBuffer>);
    static_assert(std::is_nothrow_move_assignable_v<CByteBuffer>);
    CByteBuffer source(NewBlock("abcd"), 4, 3);
    source.SetBaseAddress(5);
    source.SetName("n");
    const unsigned char* block = source.GetDataBuffer();
    CByteBuffer target(m_Source, 4, 1);
    target = std::move(source);
    EXPECT_EQ(target.GetDataBuffer(), block);
    EXPECT_EQ(target.GetStorageMode(), BYTE_BUFFER_ADOPTED);
    EXPECT_EQ(target.GetBaseAddress(), 5U);
    EXPECT_STREQ(target.GetName(), "n");
    // NOLINTBEGIN(bugprone-use-after-move,clang-analyzer-cplusplus.Move): empty by contract
    EXPECT_EQ(source.GetDataByteSize(), 0U);
    EXPECT_EQ(source.GetName(), nullptr);
    // NOLINTEND(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
    CByteBuffer& self = target;
    target = self;
    EXPECT_EQ(BytesOf(target), "abcd");
}

TEST_F(CByteBufferTest, AssignDataBorrowsInModeTwoAndCopiesElse) {
    for (const unsigned char mode : {0_u8, 1_u8, 2_u8, 3_u8}) {
        CByteBuffer buffer(NewBlock("old"), 3, 3);
        buffer.SetBaseAddress(9);
        buffer.SetName("n");
        buffer.AssignData(m_Source, 4, mode);
        EXPECT_EQ(BytesOf(buffer), "abcd");
        EXPECT_EQ(buffer.GetDataBuffer() == m_Source, mode == 2);
        EXPECT_EQ(buffer.GetStorageMode(), mode == 2 ? 2 : 1);
        EXPECT_EQ(buffer.GetBaseAddress(), 9U);
        EXPECT_STREQ(buffer.GetName(), "n");
    }
    CByteBuffer buffer(m_Source, 4, 1);
    buffer.AssignData(buffer.GetDataBuffer() + 1, 2, 1);
    EXPECT_EQ(BytesOf(buffer), "bc");
    buffer.AssignData(nullptr, 2, 1);
    EXPECT_EQ(buffer.GetStorageMode(), BYTE_BUFFER_EMPTY);
    EXPECT_EQ(buffer.GetDataByteSize(), 0U);
}

TEST_F(CByteBufferTest, AppendDataGrowsAnOwnedBlock) {
    CByteBuffer buffer;
    buffer.AppendData(m_Source, 0);
    buffer.AppendData(nullptr, 3);
    EXPECT_EQ(buffer.GetStorageMode(), BYTE_BUFFER_EMPTY);
    buffer.AppendData(m_Source, 4);
    EXPECT_NE(buffer.GetDataBuffer(), m_Source);
    buffer.AppendData(buffer.GetDataBuffer() + 2, 2);
    EXPECT_EQ(BytesOf(buffer), "abcdcd");
    buffer.AppendData(m_Source, 0);
    EXPECT_EQ(BytesOf(buffer), "abcdcd");

    // A borrowed block is freed too when bytes are appended: kept so on purpose.
    CByteBuffer borrowed(NewBlock("ab"), 2, 2);
    borrowed.AppendData(m_Source, 1);
    EXPECT_EQ(BytesOf(borrowed), "aba");
    EXPECT_EQ(borrowed.GetStorageMode(), BYTE_BUFFER_OWNED);
}

// Few bytes are kept inside the object, more of them outside: every way from one to the other.
TEST_F(CByteBufferTest, BytesInsideAndOutside) {
    const std::string text = "sixteen bytes...and some more";
    for (const unsigned int before : {1U, 16U, 17U, 29U}) {
        for (const unsigned int after : {1U, 15U, 16U, 17U, 29U}) {
            std::string room = text;
            auto* bytes = reinterpret_cast<unsigned char*>(room.data());
            CByteBuffer buffer(bytes, before, 1);
            CByteBuffer other(bytes + 29 - after, after, 1);
            const CByteBuffer copy = buffer;
            std::swap(buffer, other);
            EXPECT_EQ(BytesOf(buffer), text.substr(29 - after));
            EXPECT_EQ(BytesOf(other), text.substr(0, before));
            EXPECT_EQ(BytesOf(copy), BytesOf(other));
            buffer.AppendData(other.GetDataBuffer(), before);
            EXPECT_EQ(BytesOf(buffer), text.substr(29 - after) + text.substr(0, before));
            buffer.AssignData(buffer.GetDataBuffer() + after - 1, 2, 1);
            EXPECT_EQ(BytesOf(buffer), text.substr(28) + text.substr(0, 1));
            other.AssignData(bytes, after, 1);
            EXPECT_EQ(BytesOf(other), text.substr(0, after));
        }
    }
}

TEST_F(CByteBufferTest, AnEmptyNameIsNoName) {
    CByteBuffer buffer;
    buffer.SetName("first");
    buffer.SetName(buffer.GetName() + 2);
    EXPECT_STREQ(buffer.GetName(), "rst");
    buffer.SetName("");
    EXPECT_EQ(buffer.GetName(), nullptr);
}

}  // namespace
