#include "chipsim/IntelHexWriter.h"

#include <algorithm>
#include <numeric>
#include <span>
#include <vector>

#include "util/HexText.h"
#include "util/Wrap32.h"

namespace {

constexpr unsigned char DATA_RECORD = 0x00;
constexpr unsigned char LINEAR_ADDRESS_RECORD = 0x04;
constexpr std::uint32_t BYTES_PER_RECORD = 16;
constexpr std::uint32_t SEGMENT_SIZE = 0x10000;

void AppendRecord(std::string& text, unsigned char type, std::uint32_t offset,
                  std::span<const unsigned char> bytes) {
    std::vector<unsigned char> record = {static_cast<unsigned char>(bytes.size()),
                                         static_cast<unsigned char>(offset >> 8),
                                         static_cast<unsigned char>(offset), type};
    record.insert(record.end(), bytes.begin(), bytes.end());
    const unsigned int sum = std::accumulate(record.begin(), record.end(), 0U);
    record.push_back(static_cast<unsigned char>(0x100 - (sum & 0xFF)));
    text += ':';
    for (const unsigned char value : record) {
        AppendHexByte(text, value);
    }
    text += '\n';
}

void AppendRegion(std::string& text, const CSparseMemory::REGION& region, std::uint32_t& upper) {
    std::span<const unsigned char> rest(region.bytes);
    std::uint32_t address = region.address;
    while (!rest.empty()) {
        if (address / SEGMENT_SIZE != upper) {
            upper = address / SEGMENT_SIZE;
            const unsigned char bytes[] = {static_cast<unsigned char>(upper >> 8),
                                           static_cast<unsigned char>(upper & 0xFF)};
            AppendRecord(text, LINEAR_ADDRESS_RECORD, 0, bytes);
        }
        const std::uint32_t room =
            std::min(BYTES_PER_RECORD, SEGMENT_SIZE - address % SEGMENT_SIZE);
        const std::size_t count = std::min<std::size_t>(room, rest.size());
        AppendRecord(text, DATA_RECORD, address % SEGMENT_SIZE, rest.first(count));
        rest = rest.subspan(count);
        address = WrappingAdd(address, static_cast<std::uint32_t>(count));
    }
}

}  // namespace

std::string MakeIntelHexText(const CSparseMemory& memory) {
    std::string text;
    std::uint32_t upper = 0;
    for (const CSparseMemory::REGION& region : memory.WrittenRegions()) {
        AppendRegion(text, region, upper);
    }
    text += ":00000001FF\n";
    return text;
}
