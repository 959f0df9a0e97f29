#include "PlainImage.h"

// Any bytes as an NCD file, against the format read once more from memory.

namespace {

struct PLAIN_NCD {
    std::string error;
    PlainImage ranges;
    unsigned int patchSets = 0;
};

std::string ReadRecord(CFuzzInput& input, std::vector<unsigned char> record, PLAIN_NCD& ncd) {
    char text[80];
    if (record[0] != 0x10) {
        std::snprintf(text, sizeof text, "Unexpected PID value 0x%02X in NCD record", record[0]);
        return text;
    }
    const int rest = record[3] - 1;
    const auto bytes = input.TakeBytes(static_cast<std::size_t>(std::max(rest, 0)));
    if (rest < 0 || static_cast<int>(bytes.size()) < rest) {
        std::snprintf(text, sizeof text, "Not enough NCD data bytes in record -- %d bytes expected",
                      rest);
        return text;
    }
    const bool endsSet = record[4] == 6;
    record.insert(record.end(), bytes.begin(), bytes.end());
    ncd.ranges.push_back({0, record, static_cast<unsigned char>(endsSet ? 1 : 0)});
    ncd.patchSets += endsSet ? 1 : 0;
    return {};
}

PLAIN_NCD ReadPlain(CFuzzInput input, const std::string& path) {
    PLAIN_NCD ncd;
    const auto version = input.TakeBytes(8);
    if (version.size() < 8) {
        ncd.error = "Failed to read version information from NCD file " + path;
    } else if (version[7] == 0) {
        ncd.error = "Patch set count is 0 in NCD file " + path;
    } else if (input.TakeBytes(std::size_t{8} * version[7]).size() < std::size_t{8} * version[7]) {
        ncd.error = "Failed to skip PATCH_DESC array in NCD file " + path;
    }
    while (ncd.error.empty()) {
        const auto header = input.TakeBytes(5);
        if (header.size() < 5) {
            break;
        }
        ncd.error = ReadRecord(input, header, ncd);
    }
    return ncd;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static CMemoryFile file;
    const char* const path = file.Fill(data, size);
    const PLAIN_NCD plain = ReadPlain(CFuzzInput(data, size), path);
    CChipImageByteData image("CONFIG", "Configuration data", path);
    unsigned int patchSets = 0xA5A5A5A5U;
    FUZZ_CHECK(image.LoadFromNCDFile(path, &patchSets) == plain.error);
    FUZZ_CHECK(patchSets == plain.patchSets);
    FUZZ_CHECK(RangesOf(image) == plain.ranges);
    return 0;
}
