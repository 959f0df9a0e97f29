#include "PieceConnector.h"
#include "download/NciSegments.h"

// A record sent in segments, and packets of any size that are put together again.

namespace {

constexpr std::size_t REPLY_ROOM = 2048;

void Send(CNciSegments& segments, const CPieceConnector& port, std::vector<unsigned char> record,
          unsigned int payloadSize) {
    FUZZ_CHECK(segments.Send(record, payloadSize, 50).empty());
    std::vector<unsigned char> payload(
        record.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(4, record.size())),
        record.end());
    std::vector<unsigned char> sent;
    for (std::size_t i = 0; i < port.m_Transmitted.size(); ++i) {
        const auto& segment = port.m_Transmitted[i];
        const bool isLast = i + 1 == port.m_Transmitted.size();
        FUZZ_CHECK(segment.size() > 4 && segment.size() == segment[3] + 4U);
        FUZZ_CHECK(segment[0] == 0x10 && segment[2] == 0x2E &&
                   segment[1] == (isLast ? 0x2F : 0x3F));
        FUZZ_CHECK(segment[3] == payloadSize || (isLast && segment[3] < payloadSize));
        sent.insert(sent.end(), segment.begin() + 4, segment.end());
    }
    FUZZ_CHECK(sent == payload);
}

// The whole packets among what was delivered.
std::vector<unsigned char> WholePackets(const std::vector<unsigned char>& delivered) {
    std::size_t end = 0;
    while (end + 4 <= delivered.size() && end + 4 + delivered[end + 3] <= delivered.size()) {
        end += 4U + delivered[end + 3];
    }
    return {delivered.begin(), delivered.begin() + static_cast<std::ptrdiff_t>(end)};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CFuzzInput input(data, size);
    const unsigned int payloadSize = 1U + input.TakeBelow(255);
    const std::vector<unsigned char> record = input.TakeBytes(std::size_t{4} * input.TakeByte());
    const std::vector<unsigned char> expected = input.TakeBytes(1U + input.TakeBelow(16));
    if (expected.empty()) {
        return 0;
    }
    CPieceConnector port(input);
    CNciSegments segments(&port, nullptr);
    Send(segments, port, record, payloadSize);
    std::string error;
    const bool found = segments.Receive(expected, 50, &error);
    FUZZ_CHECK(port.m_nReads <= 200);
    if (found) {
        FUZZ_CHECK(error.empty());
    }
    const std::vector<unsigned char> packets = WholePackets(port.m_Delivered);
    const bool isThere = std::search(packets.begin(), packets.end(), expected.begin(),
                                     expected.end()) != packets.end();
    if (packets.size() <= REPLY_ROOM) {
        FUZZ_CHECK(!found || isThere);
    }
    return 0;
}
