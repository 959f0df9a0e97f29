#include <optional>

#include "PlainImage.h"

// Any bytes as an HCD file, against the format read once more from memory.

namespace {

struct PLAIN_HCD {
    std::string error;
    PlainImage ranges;
    std::optional<std::uint32_t> launchAddress;
};

PLAIN_HCD ReadPlain(CFuzzInput input, bool mergeAdjacent) {
    PLAIN_HCD hcd;
    while (hcd.error.empty()) {
        const auto header = input.TakeBytes(3);
        if (header.size() < 3) {
            break;
        }
        if ((header[0] != 0x4C && header[0] != 0x4E) || header[1] != 0xFC || header[2] < 4) {
            hcd.error = "Wrong HCD file format trying to read the command information";
            break;
        }
        const auto addressBytes = input.TakeBytes(4);
        if (addressBytes.size() < 4) {
            hcd.error = "Wrong HCD file format trying to read 32-bit address";
            break;
        }
        const std::uint32_t address = CFuzzInput(addressBytes.data(), 4).TakeWord();
        const auto bytes = input.TakeBytes(header[2] - 4U);
        if (bytes.size() < header[2] - 4U) {
            hcd.error = "Not enough HCD data bytes in record";
        } else if (header[0] == 0x4E) {
            hcd.launchAddress = address;
        } else if (mergeAdjacent && !hcd.ranges.empty() &&
                   ((hcd.ranges.back().address + hcd.ranges.back().bytes.size()) & 0xFFFFFFFFU) ==
                       address) {
            auto& last = hcd.ranges.back().bytes;
            last.insert(last.end(), bytes.begin(), bytes.end());
        } else {
            hcd.ranges.push_back({address, bytes});
        }
    }
    return hcd;
}

void CheckLoad(const char* path, const CFuzzInput& input, bool mergeAdjacent) {
    constexpr unsigned int UNTOUCHED = 0xA5A5A5A5U;
    const PLAIN_HCD plain = ReadPlain(input, mergeAdjacent);
    CChipImageByteData image("CONFIG", "Configuration data", path);
    unsigned int launchAddress = UNTOUCHED;
    FUZZ_CHECK(image.LoadFromHCDFile(path, &launchAddress, mergeAdjacent) == plain.error);
    FUZZ_CHECK(RangesOf(image) == plain.ranges);
    FUZZ_CHECK(launchAddress ==
               (plain.error.empty() ? plain.launchAddress.value_or(0) : UNTOUCHED));
    CheckAddresses(image);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static CMemoryFile file;
    const char* const path = file.Fill(data, size);
    for (const bool mergeAdjacent : {false, true}) {
        CheckLoad(path, CFuzzInput(data, size), mergeAdjacent);
    }
    return 0;
}
