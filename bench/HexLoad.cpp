// Loads an image file as the loader does and prints its ranges, so that a whole load can be timed
// as a process next to other programs.
//
//   hexload [-overlap] FILE        Intel HEX
//   hexload -hcd|-hcdmerge FILE    HCD, each record a range or neighbours merged

#include <array>
#include <cstdio>
#include <cstring>
#include <string>

#include "image/ChipImageByteData.h"

namespace {

std::string Load(CChipImageByteData& image, const char* option, const char* fileName) {
    unsigned int launchAddress = 0;
    if (std::strcmp(option, "-hcd") == 0) {
        return image.LoadFromHCDFile(fileName, &launchAddress, false);
    }
    if (std::strcmp(option, "-hcdmerge") == 0) {
        return image.LoadFromHCDFile(fileName, &launchAddress, true);
    }
    return image.LoadFromHexFile(fileName, true, std::strcmp(option, "-overlap") == 0);
}

using HexPairs = std::array<std::array<char, 2>, 256>;

constexpr HexPairs g_HexPairs = [] {
    HexPairs pairs{};
    for (unsigned int i = 0; i < pairs.size(); ++i) {
        pairs[i] = {"0123456789ABCDEF"[i >> 4], "0123456789ABCDEF"[i & 0xF]};
    }
    return pairs;
}();

char* PutHex(char* out, unsigned int value) {
    for (int shift = 24; shift >= 0; shift -= 8, out += 2) {
        std::memcpy(out, g_HexPairs[value >> shift & 0xFF].data(), 2);
    }
    return out;
}

// Address and size of each range in a line of its own, written in pieces: printf would cost more
// than the load.
void PrintRanges(const CChipImageByteData& image) {
    constexpr size_t LINE_SIZE = 18;
    std::array<char, 1000 * LINE_SIZE> text;
    char* end = text.data();
    for (unsigned int i = 0; i < image.CountContiguousRanges(); ++i) {
        end = PutHex(end, image.GetRangeStartingAddress(i));
        *end++ = ' ';
        end = PutHex(end, image.GetRangeByteSize(i));
        *end++ = '\n';
        if (end == text.data() + text.size()) {
            std::fwrite(text.data(), 1, text.size(), stdout);
            end = text.data();
        }
    }
    std::fwrite(text.data(), 1, static_cast<size_t>(end - text.data()), stdout);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::fputs("usage: hexload [-overlap|-hcd|-hcdmerge] FILE\n", stderr);
        return 2;
    }
    CChipImageByteData image("FIRMWARE", "", argv[argc - 1]);
    const std::string error = Load(image, argc == 3 ? argv[1] : "", argv[argc - 1]);
    PrintRanges(image);
    if (error.empty()) {
        return 0;
    }
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
}
