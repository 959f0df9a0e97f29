#include "PlainImage.h"
#include "support/HexRecord.h"

// Segments made from the input, written as an Intel HEX file in one of the ways in which tools
// write them, load to just these segments.

namespace {

constexpr std::size_t MOST_BYTES = 4096;  // more is only slower

enum class Addressing { Linear, Segment, Start };

class CHexWriter {
public:
    CHexWriter(Addressing addressing, bool crossesBlocks)
        : m_Addressing(addressing), m_bCrossesBlocks(crossesBlocks) {}

    void Write(const PLAIN_RANGE& segment, std::size_t recordSize) {
        for (std::size_t done = 0; done < segment.bytes.size();) {
            const auto address = static_cast<std::uint32_t>(segment.address + done);
            std::size_t count = std::min(recordSize, segment.bytes.size() - done);
            if (!m_bCrossesBlocks) {
                count = std::min<std::size_t>(count, 0x10000 - (address & 0xFFFFU));
            }
            const auto start = segment.bytes.begin() + static_cast<std::ptrdiff_t>(done);
            m_strText += HexRecord(0, LoadAddress(address),
                                   {start, start + static_cast<std::ptrdiff_t>(count)});
            done += count;
        }
    }

    std::string Finish() { return m_strText + HEX_END_RECORD; }

private:
    // Writes the base that the address needs, if it is not the current one.
    std::uint32_t LoadAddress(std::uint32_t address) {
        const std::uint32_t block = address & 0xFFFF0000U;
        if (block != m_nBlock) {
            m_nBlock = block;
            m_strText += BaseRecord(block);
        }
        return address & 0xFFFFU;
    }

    std::string BaseRecord(std::uint32_t block) const {
        const auto high = static_cast<unsigned char>(block >> 24);
        const auto low = static_cast<unsigned char>(block >> 16 & 0xFFU);
        if (m_Addressing == Addressing::Start) {
            return HexRecord(5, 0, {high, low, 0, 0});
        }
        // A paragraph reaches one megabyte.
        if (m_Addressing == Addressing::Segment && block < 0x100000) {
            return HexRecord(2, 0, {static_cast<unsigned char>(low << 4), 0});
        }
        return HexRecord(4, 0, {high, low});
    }

    Addressing m_Addressing;
    bool m_bCrossesBlocks;
    std::uint32_t m_nBlock = 0;
    std::string m_strText;
};

// What the segments load to: those that continue each other become one.
PlainImage Merged(const PlainImage& segments) {
    PlainImage merged;
    for (const PLAIN_RANGE& segment : segments) {
        if (!merged.empty() &&
            merged.back().address + merged.back().bytes.size() == segment.address) {
            merged.back().bytes.insert(merged.back().bytes.end(), segment.bytes.begin(),
                                       segment.bytes.end());
        } else {
            merged.push_back(segment);
        }
    }
    return merged;
}

// Upwards through the address space without overlap; a gap of 0 is dense.
PlainImage TakeSegments(CFuzzInput& input) {
    PlainImage segments;
    std::uint64_t next = input.TakeWord();
    std::size_t total = 0;
    while (!input.IsEmpty() && total < MOST_BYTES) {
        const unsigned int gap = input.TakeByte();
        next += gap < 128 ? gap : std::uint64_t{gap - 127} << (gap % 24);
        const auto seed = input.TakeBytes(1U + input.TakeByte() % 8U);
        std::vector<unsigned char> bytes;
        for (unsigned int copies = 1U + input.TakeByte(); copies > 0; --copies) {
            bytes.insert(bytes.end(), seed.begin(), seed.end());
        }
        if (bytes.empty() || next + bytes.size() > 0xFFFFFFFFU) {
            break;
        }
        segments.push_back({static_cast<std::uint32_t>(next), bytes});
        next += bytes.size();
        total += bytes.size();
    }
    return segments;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static CMemoryFile file;
    CFuzzInput input(data, size);
    CHexWriter writer(static_cast<Addressing>(input.TakeBelow(3)), input.TakeBelow(2) != 0);
    const std::size_t recordSize = 1U + input.TakeBelow(255);
    PlainImage segments = TakeSegments(input);
    if (segments.empty()) {
        return 0;
    }
    // Now and then the last one comes first: what jumps back is a range of its own.
    if (size % 2 != 0) {
        std::rotate(segments.begin(), segments.end() - 1, segments.end());
    }
    for (const PLAIN_RANGE& segment : segments) {
        writer.Write(segment, recordSize);
    }
    const char* const path = file.Fill(writer.Finish());
    CChipImageByteData image("FIRMWARE", "Firmware code", path);
    FUZZ_CHECK(image.LoadFromHexFile(path, true, false).empty());
    FUZZ_CHECK(RangesOf(image) == Merged(segments));
    FUZZ_CHECK(image.GetFirstAddressLoaded() == segments.front().address);
    CheckAddresses(image);
    FUZZ_CHECK(!image.LoadFromHexFile(path, false, false).empty());
    return 0;
}
