#include "chipsim/IntelHexWriter.h"

#include <gtest/gtest.h>

#include "support/HexBytes.h"

namespace {

TEST(IntelHexWriterTest, WritesRecordsThatNeverCrossASegment) {
    CSparseMemory memory;
    EXPECT_EQ(MakeIntelHexText(memory), ":00000001FF\n");
    memory.Write(0x0010, FromHex("00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10 11"));
    memory.Write(0x0020FFFE, FromHex("A1 A2 A3 A4"));
    memory.Write(0xFFFFFFFF, FromHex("EE"));
    EXPECT_EQ(MakeIntelHexText(memory),
              ":10001000000102030405060708090A0B0C0D0E0F68\n"
              ":020020001011BD\n"
              ":020000040020DA\n"
              ":02FFFE00A1A2BE\n"
              ":020000040021D9\n"
              ":02000000A3A4B7\n"
              ":02000004FFFFFC\n"
              ":01FFFF00EE13\n"
              ":00000001FF\n");
}

}  // namespace
