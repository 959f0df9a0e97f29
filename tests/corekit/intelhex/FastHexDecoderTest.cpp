#include "corekit/intelhex/FastHexDecoder.h"

#include <gtest/gtest.h>

#include <cctype>

#include "support/HexBytes.h"
#include "support/HexRecord.h"
#include "util/FormatText.h"

namespace {

// A record's address, type, size in text and bytes. Empty if the fast way does not take it.
std::string Decode(const std::string& text) {
    // Exactly that size, so that a read past the end is seen.
    const std::vector<char> exact(text.begin(), text.end());
    Bytes bytes(HEX_MAX_DATA_SIZE);
    FastHexRecord record;
    if (!DecodeRecordFast(exact.data(), exact.size(), record, bytes.data())) {
        return "";
    }
    bytes.resize(record.count);
    return FormatText("%X %u %zu ", record.address, record.type, record.textSize) + ToHex(bytes);
}

Bytes Pattern(unsigned int size) {
    Bytes bytes;
    for (unsigned int i = 0; i < size; ++i) {
        bytes.push_back(static_cast<unsigned char>(i * 37 + 201));
    }
    return bytes;
}

TEST(FastHexDecoder, TakesEverySizeTypeAndLineEnd) {
    for (unsigned int size = 0; size <= 255; ++size) {
        for (unsigned int type = 0; type <= 7; ++type) {
            std::string text = HexRecord(type, 0xA5C3, Pattern(size));
            const bool known = type == 0 || type == 2 || type == 4 || type == 5;
            for (const char* const returns : {"", "\r"}) {
                text.insert(text.size() - 1, returns);
                EXPECT_EQ(Decode(text + ":"),
                          known
                              ? FormatText("A5C3 %u %zu ", type, text.size()) + ToHex(Pattern(size))
                              : "");
            }
            EXPECT_EQ(Decode(text.substr(0, text.size() - 1)), "") << "no line feed";
        }
    }
}

TEST(FastHexDecoder, TakesDigitsOfBothCasesAndNothingElse) {
    const std::string good = HexRecord(0, 0x1234, Pattern(35));
    for (std::size_t at = 1; at + 1 < good.size(); ++at) {
        for (int value = 0; value < 256; ++value) {
            std::string text = good;
            text[at] = static_cast<char>(value);
            // Any other digit breaks the checksum or the layout.
            ASSERT_EQ(Decode(text), std::toupper(value) == good[at] ? Decode(good) : "") << text;
        }
    }
}

// What follows a record of 3 bytes that ends in a line feed, and how many records of it continue
// the first one.
TEST(FastHexDecoder, CountsTheRecordsThatContinueTheFirst) {
    const std::string next = HexRecord(0, 0xF3, {4, 5, 6});
    const std::string third = HexRecord(0, 0xF6, {7, 8, 0xAB});
    std::string lowerCase = third;
    lowerCase[13] = 'a';
    std::string carriageReturn = next;
    carriageReturn.insert(carriageReturn.size() - 1, "\r");
    // The second digits of the count, of the type and of a byte.
    const auto damaged = [](std::string text, std::size_t at) {
        text[at] = '4';
        return text;
    };
    const struct {
        std::string text;
        unsigned int limit, records;
        unsigned int address = 0xF0;
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
        {damaged(next, 2), 9, 0},
        {damaged(next, 8), 9, 0},
        {damaged(next, 12), 9, 0},
        {"$\n" + next, 9, 0},
        {"", 9, 0},
        // At the top of the 64 KiB that a record can name, no record continues.
        {HexRecord(0, 0, {4, 5, 6}), 9, 0, 0xFFFD},
    };
    for (const auto& [following, limit, records, address] : cases) {
        const std::string whole = HexRecord(0, address, {1, 2, 3}) + following;
        const std::vector<char> text(whole.begin(), whole.end());
        FastHexRecord first;
        Bytes out(HEX_MAX_DATA_SIZE);
        ASSERT_TRUE(DecodeRecordFast(text.data(), text.size(), first, out.data()));
        EXPECT_EQ(DecodeFollowingRecordsFast(text.data(), text.size(), first, limit, out.data()),
                  records)
            << following;
        out.resize(std::size_t{3} * records);
        EXPECT_TRUE(std::string("04 05 06 07 08 AB").starts_with(ToHex(out)));
    }
}

}  // namespace
