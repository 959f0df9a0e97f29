#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>

#include "image/ChipImageByteData.h"
#include "support/TempFile.h"

namespace {

// What GNU objcopy writes loads to the very bytes it was made from.
TEST(OtherPrograms, HexFilesOfObjcopyLoad) {
    // NOLINTNEXTLINE(cert-env33-c): fixed commands
    if (std::system("objcopy --version > /dev/null 2>&1") != 0) {
        GTEST_SKIP() << "no objcopy";
    }
    std::mt19937 random(7);
    for (const std::string address : {"0x0", "0xFFF3", "0xFFF00", "0x80000000", "0xFFFD0000"}) {
        std::string bytes(196608, '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(random());
        }
        const CTempFile binary(bytes);
        const CTempFile hex("");
        // The section's address alone moves: with the entry point moved too, objcopy writes a start
        // segment address record, which is refused.
        const std::string command =
            "objcopy -I binary -O ihex --change-section-address .data=" + address + " " +
            binary.Name() + " " + hex.Name();
        ASSERT_EQ(std::system(command.c_str()), 0) << command;  // NOLINT(cert-env33-c)
        CChipImageByteData image("", "", "");
        ASSERT_EQ(image.LoadFromHexFile(hex.Name(), true, false), "") << address;
        ASSERT_EQ(image.CountContiguousRanges(), 1U) << address;
        EXPECT_EQ(image.GetRangeStartingAddress(0), std::stoul(address, nullptr, 16));
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(image.GetRangeBytePointer(0)),
                              image.GetRangeByteSize(0)),
                  bytes)
            << address;
    }
}

}  // namespace
