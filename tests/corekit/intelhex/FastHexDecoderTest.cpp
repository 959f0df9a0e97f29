#include "corekit/intelhex/FastHexDecoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

#include "support/HexRecord.h"

namespace {

using Bytes = std::vector<unsigned char>;

struct Decoded {
    bool ok = false;
    FastHexRecord record;
    Bytes data;
};

// From a block of exactly that size, so that a reader past the end is caught.
Decoded Decode(const std::string& text) {
    Decoded result;
    const std::vector<char> exact(text.begin(), text.end());
    result.data.resize(HEX_MAX_DATA_SIZE);
    result.ok = DecodeRecordFast(exact.data(), exact.size(), result.record, result.data.data());
    result.data.resize(result.record.count);
    return result;
}

Bytes Pattern(unsigned int size) {
    Bytes bytes;
    for (unsigned int i = 0; i < size; ++i) {
        bytes.push_back(static_cast<unsigned char>(i * 37 + 201));
    }
    return bytes;
}

TEST(FastHexDecoder, EverySizeAndType) {
    for (unsigned int size = 0; size <= 255; ++size) {
        for (unsigned int type = 0; type <= 7; ++type) {
            const std::string text = HexRecord(type, 0xA5C3, Pattern(size));
            const Decoded result = Decode(text + ":");
            ASSERT_EQ(result.ok, type == 0 || type == 2 || type == 4 || type == 5) << text;
            if (!result.ok) {
                continue;
            }
            EXPECT_EQ(result.record.address, 0xA5C3U);
            EXPECT_EQ(result.record.type, type);
            EXPECT_EQ(result.record.textSize, text.size());
            EXPECT_EQ(result.data, Pattern(size)) << size;
        }
    }
}

TEST(FastHexDecoder, DigitsOfBothCasesAndNothingElse) {
    const std::string good = HexRecord(0, 0x1234, Pattern(35));
    for (std::size_t at = 1; at + 1 < good.size(); ++at) {
        for (int value = 0; value < 256; ++value) {
            std::string text = good;
            text[at] = static_cast<char>(value);
            // Any other digit spoils the checksum or the layout.
            const bool same = std::toupper(value) == good[at];
            ASSERT_EQ(Decode(text).ok, same) << at << ' ' << value;
            ASSERT_TRUE(!same || Decode(text).data == Pattern(35));
        }
    }
}

TEST(FastHexDecoder, LineEnds) {
    for (const unsigned int size : {0U, 3U, 16U, 40U}) {
        std::string text = HexRecord(0, 0x1234, Pattern(size));
        text.pop_back();
        EXPECT_EQ(Decode(text + "\n").record.textSize, text.size() + 1);
        EXPECT_EQ(Decode(text + "\r\n").record.textSize, text.size() + 2);
        for (const char* end : {"", "\r", " \n", "\r\r\n", "\t", "0\n", "00\n", "\v\n"}) {
            EXPECT_FALSE(Decode(text + end).ok) << end;
        }
        for (std::size_t cut = 0; cut <= text.size(); ++cut) {
            EXPECT_FALSE(Decode(text.substr(0, cut)).ok);
            EXPECT_FALSE(Decode(text.substr(0, cut) + "\n").ok && cut < text.size());
        }
    }
}

// What follows a record of 3 bytes at 0x00F0 that ends in a line feed, and how many records of it
// continue the first.
TEST(FastHexDecoder, ContinuingRecords) {
    const std::string next = HexRecord(0, 0xF3, {4, 5, 6});
    const std::string third = HexRecord(0, 0xF6, {7, 8, 0xAB});
    std::string lowerCase = third;
    lowerCase[13] = 'a';
    std::string carriageReturn = next;
    carriageReturn.insert(carriageReturn.size() - 1, "\r");
    std::string damaged = next;
    damaged[10] = '5';
    const struct {
        std::string text;
        unsigned int limit;
        unsigned int records;
    } cases[] = {
        {next + third, 9, 2},
        {next + lowerCase, 9, 2},
        {next + third, 1, 1},
        {next + third, 0, 0},
        {next + third.substr(0, third.size() - 1), 9, 1},
        {next + HexRecord(0, 0xF7, {7, 8, 9}), 9, 1},
        {next + HexRecord(0, 0xF6, {7, 8}), 9, 1},
        {next + HexRecord(4, 0xF6, {0, 0, 0}), 9, 1},
        {carriageReturn, 9, 0},
        {damaged, 9, 0},
        {"$\n" + next, 9, 0},
        {"", 9, 0},
    };
    for (const auto& [following, limit, records] : cases) {
        const std::string whole = HexRecord(0, 0xF0, {1, 2, 3}) + following;
        const std::vector<char> text(whole.begin(), whole.end());
        FastHexRecord first;
        Bytes out(HEX_MAX_DATA_SIZE);
        ASSERT_TRUE(DecodeRecordFast(text.data(), text.size(), first, out.data()));
        EXPECT_EQ(DecodeFollowingRecordsFast(text.data(), text.size(), first, limit, out.data()),
                  records)
            << following;
        const Bytes expected{4, 5, 6, 7, 8, 0xAB};
        out.resize(std::size_t{3} * records);
        EXPECT_TRUE(std::equal(out.begin(), out.end(), expected.begin()));
    }
}

// At the top of the 64 KiB that a record can name, the next address is not in front of the last.
TEST(FastHexDecoder, NoRecordContinuesPastTheTop) {
    const std::string text = HexRecord(0, 0xFFFE, {1, 2}) + HexRecord(0, 0, {3, 4});
    FastHexRecord first;
    Bytes out(HEX_MAX_DATA_SIZE);
    ASSERT_TRUE(DecodeRecordFast(text.data(), text.size(), first, out.data()));
    EXPECT_EQ(DecodeFollowingRecordsFast(text.data(), text.size(), first, 9, out.data()), 0U);
}

}  // namespace
