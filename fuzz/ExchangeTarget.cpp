#include "PieceConnector.h"
#include "download/HciExchange.h"
#include "util/ByteBuffer.h"

// One exchange: a pattern of any length against anything that may arrive. An input is the length of
// the reply, the part of it that is searched for, the time limit, the reply's pattern and the
// script of the port.

namespace {

constexpr std::size_t PLAIN_BUFFER = 128;
constexpr std::size_t REPLY_BUFFER = 512;

// The plain exchange looks for all of the expected bytes. The other one looks for their first
// matchLength and replaces the rest of them by what follows in the reply.
void Exchange(bool isPlain, Bytes expected, unsigned int matchLength, unsigned int timeoutMS,
              CPieceConnector& port) {
    unsigned char command[] = {0x03, 0x0C, 0x00};
    unsigned char indicator = 0x01;
    CByteBuffer prefix(&indicator, 1, BYTE_BUFFER_OWNED);
    const auto rest = static_cast<std::ptrdiff_t>(matchLength);
    const Bytes pattern(expected.begin(), expected.begin() + rest);
    const auto size = static_cast<unsigned int>(expected.size());
    std::string error = "old";
    const bool found =
        isPlain ? SendCommandAndWaitForCompletion(&port, &prefix, command, sizeof command,
                                                  expected.data(), size, timeoutMS, &error, nullptr)
                : SendCommandAndWaitForCompletionMatchRxStart(
                      &port, &prefix, command, sizeof command, expected.data(), matchLength, size,
                      timeoutMS, &error, nullptr);
    FUZZ_CHECK(port.m_nReads <= std::max(timeoutMS / 4, 1U));
    FUZZ_CHECK((port.m_Transmitted == std::vector<Bytes>{{0x01, 0x03, 0x0C, 0x00}}));
    FUZZ_CHECK(std::equal(pattern.begin(), pattern.end(), expected.begin()));
    FUZZ_CHECK(!found || (error.empty() && port.HasDelivered(pattern)));
    const Bytes& delivered = port.m_Delivered;
    if (delivered.size() > (isPlain ? PLAIN_BUFFER : REPLY_BUFFER)) {
        return;
    }
    // Nothing had to be dropped, so nothing may be overlooked.
    FUZZ_CHECK(found || !error.empty() || delivered.size() < size || !port.HasDelivered(pattern));
    // The reply's rest is taken from where it stands if the pattern came first.
    FUZZ_CHECK(!found || isPlain ||
               std::equal(expected.begin() + rest, expected.end(), delivered.begin() + rest));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CFuzzInput input(data, size);
    const std::size_t replyLength = input.TakeByte();
    const std::size_t wantedLength = std::min<std::size_t>(input.TakeByte(), replyLength);
    const unsigned int timeoutMS = input.TakeByte() * 16U;
    Bytes expected = input.TakeBytes(wantedLength);
    if (expected.empty()) {
        return 0;
    }
    const auto matchLength = static_cast<unsigned int>(expected.size());
    // The plain exchange never searches for more than its buffer holds.
    if (matchLength <= PLAIN_BUFFER) {
        CPieceConnector port(input);
        Exchange(true, expected, matchLength, timeoutMS, port);
    }
    expected.resize(replyLength);
    CPieceConnector port(input);
    Exchange(false, expected, matchLength, timeoutMS, port);
    return 0;
}
