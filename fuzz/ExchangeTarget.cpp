#include "PieceConnector.h"
#include "download/HciExchange.h"
#include "util/ByteBuffer.h"

// One exchange: a pattern of any length against anything that may arrive. An input is the length of
// the reply, the part of it that is searched for, the time limit, the reply's pattern and the
// script of the port.

namespace {

constexpr std::size_t PLAIN_BUFFER = 128;
constexpr std::size_t REPLY_BUFFER = 512;

unsigned char g_Command[] = {0x03, 0x0C, 0x00};

void CheckPolls(const CPieceConnector& port, unsigned int timeoutMS) {
    FUZZ_CHECK(port.m_nReads <= std::max(timeoutMS / 4, 1U));
    FUZZ_CHECK(port.m_Transmitted.size() == 1);
    FUZZ_CHECK((port.m_Transmitted[0] == std::vector<unsigned char>{0x01, 0x03, 0x0C, 0x00}));
}

void WaitForCompletion(std::vector<unsigned char> expected, unsigned int timeoutMS,
                       CPieceConnector& port) {
    unsigned char indicator = 0x01;
    CByteBuffer prefix(&indicator, 1, BYTE_BUFFER_OWNED);
    std::string error = "old";
    const bool found = SendCommandAndWaitForCompletion(
        &port, &prefix, g_Command, sizeof g_Command, expected.data(),
        static_cast<unsigned int>(expected.size()), timeoutMS, &error, nullptr);
    CheckPolls(port, timeoutMS);
    if (found) {
        FUZZ_CHECK(error.empty() && port.HasDelivered(expected));
    } else if (error.empty() && port.m_Delivered.size() <= PLAIN_BUFFER) {
        // Nothing had to be dropped, so nothing may be overlooked.
        FUZZ_CHECK(!port.HasDelivered(expected));
    }
}

void WaitForReply(std::vector<unsigned char> expected, std::size_t matchLength,
                  unsigned int timeoutMS, CPieceConnector& port) {
    unsigned char indicator = 0x01;
    CByteBuffer prefix(&indicator, 1, BYTE_BUFFER_OWNED);
    const std::vector<unsigned char> pattern(
        expected.begin(), expected.begin() + static_cast<std::ptrdiff_t>(matchLength));
    std::string error = "old";
    const bool found = SendCommandAndWaitForCompletionMatchRxStart(
        &port, &prefix, g_Command, sizeof g_Command, expected.data(),
        static_cast<unsigned int>(matchLength), static_cast<unsigned int>(expected.size()),
        timeoutMS, &error, nullptr);
    CheckPolls(port, timeoutMS);
    const bool isWhole = port.m_Delivered.size() <= REPLY_BUFFER;
    FUZZ_CHECK(std::equal(pattern.begin(), pattern.end(), expected.begin()));
    if (found) {
        FUZZ_CHECK(error.empty() && port.HasDelivered(pattern));
        // The reply's rest is taken from where it stands if the pattern came first.
        FUZZ_CHECK(!isWhole ||
                   std::equal(expected.begin() + static_cast<std::ptrdiff_t>(matchLength),
                              expected.end(),
                              port.m_Delivered.begin() + static_cast<std::ptrdiff_t>(matchLength)));
    } else if (error.empty() && isWhole && port.m_Delivered.size() >= expected.size()) {
        FUZZ_CHECK(!port.HasDelivered(pattern));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CFuzzInput input(data, size);
    const std::size_t replyLength = input.TakeByte();
    const std::size_t matchLength = std::min<std::size_t>(input.TakeByte(), replyLength);
    const unsigned int timeoutMS = input.TakeByte() * 16U;
    std::vector<unsigned char> expected = input.TakeBytes(matchLength);
    if (expected.empty()) {
        return 0;
    }
    const std::size_t patternLength = expected.size();
    // The plain exchange never searches for more than its buffer holds.
    if (patternLength <= PLAIN_BUFFER) {
        CPieceConnector port(input);
        WaitForCompletion(expected, timeoutMS, port);
    }
    expected.resize(std::max(replyLength, patternLength));
    CPieceConnector port(input);
    WaitForReply(expected, patternLength, timeoutMS, port);
    return 0;
}
