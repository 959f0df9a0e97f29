#include "chipsim/IntelHexWriter.h"

#include <algorithm>
#include <numeric>

#include "util/HexText.h"
#include "util/Wrap32.h"

std::string MakeIntelHexRecord(unsigned int type, std::uint32_t address,
                               std::span<const unsigned char> bytes) {
    std::vector<unsigned char> record = {
        static_cast<unsigned char>(bytes.size()), static_cast<unsigned char>(address >> 8),
        static_cast<unsigned char>(address), static_cast<unsigned char>(type)};
    record.insert(record.end(), bytes.begin(), bytes.end());
    const unsigned int sum = std::accumulate(record.begin(), record.end(), 0U);
    record.push_back(static_cast<unsigned char>(0x100 - (sum & 0xFF)));
    std::string line = ":";
    for (const unsigned char value : record) {
        AppendHexByte(line, value);
    }
    return line += '\n';
}

std::string MakeIntelHexText(const std::vector<CSparseMemory::REGION>& regions) {
    constexpr std::uint32_t SEGMENT_SIZE = 0x10000;
    std::string text;
    std::uint32_t segment = 0;
    for (const auto& [start, bytes] : regions) {
        std::span<const unsigned char> rest(bytes);
        for (std::uint32_t address = start; !rest.empty();) {
            if (address / SEGMENT_SIZE != segment) {
                segment = address / SEGMENT_SIZE;
                const unsigned char upper[] = {static_cast<unsigned char>(segment >> 8),
                                               static_cast<unsigned char>(segment)};
                text += MakeIntelHexRecord(4, 0, upper);
            }
            const std::size_t count =
                std::min<std::size_t>({16, rest.size(), SEGMENT_SIZE - address % SEGMENT_SIZE});
            text += MakeIntelHexRecord(0, address, rest.first(count));
            rest = rest.subspan(count);
            address = WrappingAdd(address, static_cast<std::uint32_t>(count));
        }
    }
    return text + MakeIntelHexRecord(1, 0, {});
}
