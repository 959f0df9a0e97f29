#include "util/Crc32.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

const unsigned char DIGITS[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};

unsigned int BitByBit(const std::vector<unsigned char>& bytes) {
    unsigned int value = 0xFFFFFFFF;
    for (const unsigned char byte : bytes) {
        value ^= byte;
        for (int bit = 0; bit < 8; ++bit) {
            value = (value & 1) != 0 ? value >> 1 ^ 0xEDB88320 : value >> 1;
        }
    }
    return ~value;
}

TEST(Crc32, KnownValues) {
    make_crc_table();
    EXPECT_EQ(crc(DIGITS, 9), 0xCBF43926U);
    EXPECT_EQ(crc(DIGITS, 0), 0U);
    EXPECT_EQ(crc(nullptr, 0), 0U);
    EXPECT_EQ(final_update_crc(0x12345678, nullptr, 5), 0xEDCBA987U);
    EXPECT_EQ(final_update_crc(0x12345678, DIGITS, 0), 0xEDCBA987U);
}

TEST(Crc32, AnyLengthInAnyPiecesAsBitByBit) {
    make_crc_table();
    make_crc_table();
    std::mt19937 random(1);
    for (unsigned int size = 0; size < 70; ++size) {
        std::vector<unsigned char> bytes(size);
        for (auto& byte : bytes) {
            byte = static_cast<unsigned char>(random());
        }
        const unsigned int expected = BitByBit(bytes);
        EXPECT_EQ(crc(bytes.data(), size), expected);
        const unsigned int cut = size == 0 ? 0 : static_cast<unsigned int>(random()) % size;
        const unsigned int part = update_crc(INITIAL_CRC_VALUE, bytes.data(), cut);
        EXPECT_EQ(final_update_crc(part, bytes.data() + cut, size - cut), expected) << cut;
    }
}

}  // namespace
