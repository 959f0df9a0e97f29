#include "PieceConnector.h"
#include "download/NciSegments.h"

// A record sent in segments, and packets of any size that are put together again.

namespace {

constexpr std::size_t HEADER_SIZE = 4;
constexpr std::size_t REPLY_ROOM = 2048;
constexpr unsigned int TRIES = 200;

void CheckSegments(const CPieceConnector& port, const Bytes& record, unsigned int payloadSize) {
    Bytes sent(record.begin(),
               record.begin() + static_cast<std::ptrdiff_t>(std::min(HEADER_SIZE, record.size())));
    for (std::size_t i = 0; i < port.m_Transmitted.size(); ++i) {
        const Bytes& segment = port.m_Transmitted[i];
        const bool isLast = i + 1 == port.m_Transmitted.size();
        FUZZ_CHECK(segment.size() > HEADER_SIZE && segment.size() == HEADER_SIZE + segment[3]);
        FUZZ_CHECK(segment[0] == 0x10 && segment[2] == 0x2E &&
                   segment[1] == (isLast ? 0x2F : 0x3F));
        FUZZ_CHECK(segment[3] == payloadSize || (isLast && segment[3] < payloadSize));
        sent.insert(sent.end(), segment.begin() + HEADER_SIZE, segment.end());
    }
    FUZZ_CHECK(sent == record);
}

// Each read is followed by at most one packet, and the search; what does not fit is dropped.
bool ShowsUp(const CPieceConnector& port, const Bytes& expected) {
    Bytes reply;
    auto packet = port.m_Delivered.begin();
    for (const std::size_t delivered : port.m_DeliveredByRead) {
        const std::ptrdiff_t room =
            port.m_Delivered.begin() + static_cast<std::ptrdiff_t>(delivered) - packet;
        if (room >= 4 && room >= 4 + packet[3]) {
            const auto end = packet + 4 + packet[3];
            if (reply.size() + static_cast<std::size_t>(end - packet) <= REPLY_ROOM) {
                reply.insert(reply.end(), packet, end);
            }
            packet = end;
        }
        if (std::search(reply.begin(), reply.end(), expected.begin(), expected.end()) !=
            reply.end()) {
            return true;
        }
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CFuzzInput input(data, size);
    const unsigned int payloadSize = 1U + input.TakeBelow(255);
    const Bytes record = input.TakeBytes(std::size_t{4} * input.TakeByte());
    const Bytes expected = input.TakeBytes(1U + input.TakeBelow(16));
    if (expected.empty()) {
        return 0;
    }
    CPieceConnector port(input);
    const ReplyFailure failure =
        CNciSegments(&port, payloadSize, 50, 50, nullptr).Exchange(record, expected);
    CheckSegments(port, record, payloadSize);
    FUZZ_CHECK(!failure == ShowsUp(port, expected));
    FUZZ_CHECK(!failure || !failure->empty() || port.m_nReads == TRIES);
    FUZZ_CHECK(port.m_nReads <= TRIES);
    return 0;
}
