#include "download/HciTrace.h"

#include <gmock/gmock.h>

#include <cstdlib>

#include "support/HexBytes.h"

namespace {

TEST(HciTrace, CutsBytesInTheMiddle) {
    const Bytes bytes = FromHex("01 02 03 04 A0 0F");
    EXPECT_EQ(ShowBytesString("x ", bytes.data(), 6, 6), "x  (6 bytes): 01 02 03 04 A0 0F");
    EXPECT_EQ(ShowBytesString("x ", bytes.data(), 6, 5), "x  (6 bytes): 01 02 ...  A0 0F");
    EXPECT_EQ(ShowBytesString("x ", bytes.data(), 6, 1), "x  (6 bytes): ... ");
    char text[] = "#######";
    char* cursor = text;
    AppendSpaceAndHexByte(&cursor, 0xA0);
    AppendSpaceAndHexByte(&cursor, 0x0F);
    EXPECT_STREQ(text, " A0 0F#");
}

TEST(HciTrace, AnEntryIsATimeALabelAndAtMost32Bytes) {
    const Bytes bytes(33, 0x5A);
    char* text = nullptr;
    std::size_t size = 0;
    FILE* const stream = open_memstream(&text, &size);
    fDebugPrint = stream;
    DebugOut("some", bytes.data(), 32);
    DebugOut("many", bytes.data(), 33);
    DebugOut("none", bytes.data(), 0);
    DebugOut(nullptr, nullptr, 4);
    fDebugPrint = nullptr;
    DebugOut("no stream", nullptr, 0);
    std::fclose(stream);
    const std::string stamp = R"([0-9]{2}:[0-9]{2}:[0-9]{2}\.[0-9]{3} )";
    const std::string shown = ToHex(Bytes(32, 0x5A));
    EXPECT_THAT(text, testing::MatchesRegex(stamp + "some\n32 bytes:  " + shown + "\n" + stamp +
                                            "many\n33 bytes:  " + shown + " \\.\\.\\.\n" + stamp +
                                            "none\n" + stamp + "\n"));
    std::free(text);
}

}  // namespace
