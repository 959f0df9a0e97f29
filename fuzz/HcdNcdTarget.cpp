#include "FuzzInput.h"
#include "image/HcdFindings.h"
#include "image/ImageText.h"
#include "image/NcdFindings.h"
#include "util/FileHandle.h"
#include "util/HexText.h"
#include "util/Wrap32.h"

// Any bytes as an HCD and as an NCD file, compared with the formats read once more from memory. A
// check finds an error in each file that the loader refuses.

namespace {

struct PLAIN_LOAD {
    std::string error;
    std::string ranges;        // as RangesText shows them
    std::uint32_t number = 0;  // the launch address, or the count of patch sets

    void AddBytes(const Bytes& bytes) {
        for (const unsigned char byte : bytes) {
            AppendHexByte(ranges, byte);
        }
    }
};

PLAIN_LOAD ReadHcd(CFuzzInput input, bool mergeAdjacent) {
    PLAIN_LOAD load;
    std::uint32_t next = 0;
    for (Bytes head; load.error.empty() && (head = input.TakeBytes(3)).size() == 3;) {
        const Bytes body = input.TakeBytes(head[2]);
        if ((head[0] != 0x4C && head[0] != 0x4E) || head[1] != 0xFC || head[2] < 4) {
            load.error = "Wrong HCD file format trying to read the command information";
        } else if (body.size() < 4) {
            load.error = "Wrong HCD file format trying to read 32-bit address";
        } else if (body.size() < head[2]) {
            load.error = "Not enough HCD data bytes in record";
        } else if (head[0] == 0x4E) {
            load.number = CopyLittleEndianBufferToUint32(body.data());
        } else {
            const std::uint32_t address = CopyLittleEndianBufferToUint32(body.data());
            const bool merges = mergeAdjacent && !load.ranges.empty() && address == next;
            load.ranges += merges ? "" : FormatText(" %X:", address);
            load.AddBytes({body.begin() + 4, body.end()});
            next = WrappingAdd(address, head[2] - 4U);
        }
    }
    return load;
}

void CheckHcd(const char* path, const CFuzzInput& input, bool mergeAdjacent) {
    constexpr unsigned int UNTOUCHED = 0xA5A5A5A5U;
    const PLAIN_LOAD plain = ReadHcd(input, mergeAdjacent);
    CChipImageByteData image("CONFIG", "Configuration data", path);
    unsigned int launchAddress = UNTOUCHED;
    FUZZ_CHECK(image.LoadFromHCDFile(path, &launchAddress, mergeAdjacent) == plain.error);
    FUZZ_CHECK(RangesText(image) == plain.ranges);
    FUZZ_CHECK(plain.error.empty() ||
               StatusOfFindings(FindInHcdFile(OpenFileForReading(path).get(), path)) == 2);
    FUZZ_CHECK(launchAddress == (plain.error.empty() ? plain.number : UNTOUCHED));
    FUZZ_CHECK(image.IsLaunchAddressKnown() ==
               (plain.error.empty() && image.FindRangeWithThisAddress(plain.number) >= 0));
    FUZZ_CHECK(!image.IsLaunchAddressKnown() || image.GetLaunchAddress() == plain.number);
    const std::uint32_t first = plain.ranges.empty() ? 0 : image.GetRangeStartingAddress(0);
    FUZZ_CHECK(image.GetFirstAddressLoaded() ==
               (image.FindRangeWithThisAddress(first) >= 0 ? first : 0));
}

void CheckNcd(const char* path, CFuzzInput input) {
    PLAIN_LOAD plain;
    const Bytes version = input.TakeBytes(8);
    const std::size_t descriptors = version.size() < 8 ? 0 : std::size_t{8} * version[7];
    if (version.size() < 8) {
        plain.error = std::string("Failed to read version information from NCD file ") + path;
    } else if (descriptors == 0) {
        plain.error = std::string("Patch set count is 0 in NCD file ") + path;
    } else if (input.TakeBytes(descriptors).size() < descriptors) {
        plain.error = std::string("Failed to skip PATCH_DESC array in NCD file ") + path;
    }
    Bytes flags;
    for (Bytes head; plain.error.empty() && (head = input.TakeBytes(5)).size() == 5;) {
        const int rest = head[3] - 1;
        const Bytes body = input.TakeBytes(static_cast<std::size_t>(std::max(rest, 0)));
        if (head[0] != 0x10) {
            plain.error = FormatText("Unexpected PID value 0x%02X in NCD record", head[0]);
        } else if (static_cast<int>(body.size()) != rest) {
            plain.error =
                FormatText("Not enough NCD data bytes in record -- %d bytes expected", rest);
        } else {
            flags.push_back(head[4] == 6 ? 1 : 0);
            plain.number += flags.back();
            plain.ranges += " 0:";
            plain.AddBytes(head);
            plain.AddBytes(body);
        }
    }
    CChipImageByteData image("CONFIG", "Configuration data", path);
    unsigned int patchSets = 0xA5A5A5A5U;
    FUZZ_CHECK(image.LoadFromNCDFile(path, &patchSets) == plain.error);
    FUZZ_CHECK(plain.error.empty() ||
               StatusOfFindings(FindInNcdFile(OpenFileForReading(path).get(), path)) == 2);
    FUZZ_CHECK(patchSets == plain.number);
    FUZZ_CHECK(RangesText(image) == plain.ranges);
    for (unsigned int i = 0; i < flags.size(); ++i) {
        FUZZ_CHECK(image.GetByteBuffer(i).GetFlag() == flags[i]);
    }
    FUZZ_CHECK(!image.IsLaunchAddressKnown() && image.GetFirstAddressLoaded() == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static CMemoryFile file;
    const char* const path = file.Fill({data, data + size});
    CheckHcd(path, CFuzzInput(data, size), false);
    CheckHcd(path, CFuzzInput(data, size), true);
    CheckNcd(path, CFuzzInput(data, size));
    return 0;
}
