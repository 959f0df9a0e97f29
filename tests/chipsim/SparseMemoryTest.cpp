#include "chipsim/SparseMemory.h"

#include <gtest/gtest.h>

#include "support/HexBytes.h"
#include "util/Crc32.h"
#include "util/Wrap32.h"

namespace {

Bytes ReadBytes(const CSparseMemory& memory, std::uint32_t address, std::size_t count) {
    Bytes bytes(count);
    memory.Read(address, bytes);
    return bytes;
}

TEST(SparseMemoryTest, KeepsBytesAcrossPagesAndTheEndOfTheAddressSpace) {
    for (const std::uint32_t address : {0x0U, 0xFFEU, 0x00200FFFU, 0xFFFFFFFDU, 0xFFFFFFFFU}) {
        CSparseMemory memory;
        memory.Write(address, FromHex("11 22 33 44"));
        EXPECT_EQ(ToHex(ReadBytes(memory, WrappingSubtract(address, 1), 6)), "FF 11 22 33 44 FF")
            << address;
    }
}

TEST(SparseMemoryTest, EraseLeavesTheKeptAddressesAlone) {
    struct CASE {
        std::uint32_t first, last;
        const char* left;
    };
    for (const CASE& c :
         {CASE{0x1002, 0x1004, "FF FF 33 44 55 FF"}, CASE{0x0FF0, 0x1000, "11 FF FF FF FF FF"},
          CASE{0x1005, 0xFFFFFFFF, "FF FF FF FF FF 66"}, CASE{0, 0xFFFFFFFF, "11 22 33 44 55 66"},
          CASE{0x1003, 0x1001, "FF FF FF FF FF FF"}, CASE{0x5000, 0x5FFF, "FF FF FF FF FF FF"}}) {
        CSparseMemory memory;
        memory.Write(0x1000, FromHex("11 22 33 44 55 66"));
        memory.EraseAllBut(c.first, c.last);
        EXPECT_EQ(ToHex(ReadBytes(memory, 0x1000, 6)), c.left) << c.first;
    }
}

TEST(SparseMemoryTest, RegionsHoldEveryWrittenByteThoughItsValueIsThatOfAnErasedOne) {
    CSparseMemory memory;
    memory.Write(0xFFFFFFFE, FromHex("01 02 03"));  // wraps
    memory.Write(0x1FFE, FromHex("AA FF FF BB"));
    memory.Write(0x2002, FromHex("CC"));
    std::string text;
    for (const CSparseMemory::REGION& region : memory.WrittenRegions()) {
        text += std::to_string(region.address) + ": " + ToHex(region.bytes) + "\n";
    }
    EXPECT_EQ(text, "0: 03\n8190: AA FF FF BB CC\n4294967294: 01 02\n");
}

TEST(SparseMemoryTest, SumsWrittenAndErasedBytesAlike) {
    CSparseMemory memory;
    memory.Write(0x2FFF, FromHex("31 32 33 34 35 36 37 38 39"));
    EXPECT_EQ(memory.Crc(0x2FFF, 9), 0xCBF43926U);  // the check value of the CRC's definition
    EXPECT_EQ(memory.Crc(0x2FFF, 0), 0U);
    Bytes blank(10000, 0xFF);
    EXPECT_EQ(memory.Crc(0x8000, 10000), crc(blank.data(), 10000));
}

}  // namespace
