#include "PlainImage.h"

// Any bytes as an HCD and as an NCD file, against the formats read once more from memory.

namespace {

struct PLAIN_LOAD {
    std::string error;
    PlainImage ranges;
    std::uint32_t number = 0;  // the launch address, or the count of patch sets
};

void ReadHcdRecord(CFuzzInput& input, const std::vector<unsigned char>& header, bool mergeAdjacent,
                   PLAIN_LOAD& load) {
    if ((header[0] != 0x4C && header[0] != 0x4E) || header[1] != 0xFC || header[2] < 4) {
        load.error = "Wrong HCD file format trying to read the command information";
        return;
    }
    const auto addressBytes = input.TakeBytes(4);
    const std::uint32_t address = CFuzzInput(addressBytes.data(), addressBytes.size()).TakeWord();
    const auto bytes = input.TakeBytes(header[2] - 4U);
    if (addressBytes.size() < 4) {
        load.error = "Wrong HCD file format trying to read 32-bit address";
    } else if (bytes.size() < header[2] - 4U) {
        load.error = "Not enough HCD data bytes in record";
    } else if (header[0] == 0x4E) {
        load.number = address;
    } else if (mergeAdjacent && !load.ranges.empty() &&
               ((load.ranges.back().address + load.ranges.back().bytes.size()) & 0xFFFFFFFFU) ==
                   address) {
        auto& last = load.ranges.back().bytes;
        last.insert(last.end(), bytes.begin(), bytes.end());
    } else {
        load.ranges.push_back({address, bytes});
    }
}

void ReadNcdRecord(CFuzzInput& input, std::vector<unsigned char> record, PLAIN_LOAD& load) {
    char text[80];
    const int rest = record[3] - 1;
    const auto bytes = input.TakeBytes(static_cast<std::size_t>(std::max(rest, 0)));
    if (record[0] != 0x10) {
        std::snprintf(text, sizeof text, "Unexpected PID value 0x%02X in NCD record", record[0]);
        load.error = text;
    } else if (static_cast<int>(bytes.size()) < rest || rest < 0) {
        std::snprintf(text, sizeof text, "Not enough NCD data bytes in record -- %d bytes expected",
                      rest);
        load.error = text;
    } else {
        const bool endsSet = record[4] == 6;
        load.number += endsSet ? 1 : 0;
        record.insert(record.end(), bytes.begin(), bytes.end());
        load.ranges.push_back({0, record, static_cast<unsigned char>(endsSet ? 1 : 0)});
    }
}

// ReadRecord gets the rest of the input and the header of a record.
template <typename ReadRecord>
void ReadRecords(CFuzzInput& input, std::size_t headerSize, PLAIN_LOAD& load,
                 const ReadRecord& readRecord) {
    while (load.error.empty()) {
        const auto header = input.TakeBytes(headerSize);
        if (header.size() < headerSize) {
            return;
        }
        readRecord(header);
    }
}

void CheckHcd(const char* path, CFuzzInput input, bool mergeAdjacent) {
    constexpr unsigned int UNTOUCHED = 0xA5A5A5A5U;
    PLAIN_LOAD plain;
    ReadRecords(input, 3, plain,
                [&](const auto& header) { ReadHcdRecord(input, header, mergeAdjacent, plain); });
    CChipImageByteData image("CONFIG", "Configuration data", path);
    unsigned int launchAddress = UNTOUCHED;
    FUZZ_CHECK(image.LoadFromHCDFile(path, &launchAddress, mergeAdjacent) == plain.error);
    FUZZ_CHECK(RangesOf(image) == plain.ranges);
    FUZZ_CHECK(launchAddress == (plain.error.empty() ? plain.number : UNTOUCHED));
    FUZZ_CHECK(image.IsLaunchAddressKnown() ==
               (plain.error.empty() && image.FindRangeWithThisAddress(plain.number) >= 0));
    FUZZ_CHECK(!image.IsLaunchAddressKnown() || image.GetLaunchAddress() == plain.number);
    const std::uint32_t first = plain.ranges.empty() ? 0 : plain.ranges.front().address;
    FUZZ_CHECK(image.GetFirstAddressLoaded() ==
               (image.FindRangeWithThisAddress(first) >= 0 ? first : 0));
    CheckAddresses(image);
}

void CheckNcd(const char* path, CFuzzInput input) {
    PLAIN_LOAD plain;
    const auto version = input.TakeBytes(8);
    const std::size_t descriptors = version.size() < 8 ? 0 : std::size_t{8} * version[7];
    if (version.size() < 8) {
        plain.error = std::string("Failed to read version information from NCD file ") + path;
    } else if (descriptors == 0) {
        plain.error = std::string("Patch set count is 0 in NCD file ") + path;
    } else if (input.TakeBytes(descriptors).size() < descriptors) {
        plain.error = std::string("Failed to skip PATCH_DESC array in NCD file ") + path;
    }
    ReadRecords(input, 5, plain, [&](const auto& header) { ReadNcdRecord(input, header, plain); });
    CChipImageByteData image("CONFIG", "Configuration data", path);
    unsigned int patchSets = 0xA5A5A5A5U;
    FUZZ_CHECK(image.LoadFromNCDFile(path, &patchSets) == plain.error);
    FUZZ_CHECK(patchSets == plain.number);
    FUZZ_CHECK(RangesOf(image) == plain.ranges);
    FUZZ_CHECK(!image.IsLaunchAddressKnown() && image.GetFirstAddressLoaded() == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static CMemoryFile file;
    const char* const path = file.Fill(data, size);
    CheckHcd(path, CFuzzInput(data, size), false);
    CheckHcd(path, CFuzzInput(data, size), true);
    CheckNcd(path, CFuzzInput(data, size));
    return 0;
}
