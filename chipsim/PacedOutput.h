#pragma once

#include <deque>
#include <optional>
#include <span>
#include <vector>

#include "chipsim/ChipCommand.h"
#include "chipsim/LineTime.h"

// The sending half of the line: holds the replies and says which bytes a real line would have
// carried by now. Replies start in the order in which they are due, so others can overtake a late
// one; a reply that has begun is finished first.
//
// Not synchronised: one thread at a time.
class CPacedOutput {
public:
    explicit CPacedOutput(unsigned int baud) : m_nByteTime(ByteTime(baud)) {}

    void Queue(CHIP_REPLY reply, LineTime now);

    // The bytes to hand over now, empty when none are due. Valid until the next call. Confirm what
    // was handed over with Sent.
    std::span<const unsigned char> Due(LineTime now);
    void Sent(std::size_t count, LineTime now);

    // Whether the reply after which the port hangs up has been sent and can have been read.
    bool HangUpIsDue(LineTime now) const;

    // When the next bytes or a hang-up are due; none when nothing is queued.
    std::optional<LineTime> NextDue() const;

private:
    struct PENDING {
        CHIP_REPLY reply;
        std::size_t piece = 0;  // the first piece not sent whole
        std::size_t sent = 0;   // bytes of it
        LineTime start = 0;     // when the first byte of that piece starts on the line
        bool begun = false;
    };

    static void SkipEmptyPieces(PENDING& pending);
    static bool IsAllSent(const PENDING& pending);
    std::size_t StepFor(const PENDING& pending) const;

    const LineTime m_nByteTime;
    LineTime m_nLineFree = 0;
    std::deque<PENDING> m_Pending;  // by start time, after the one that has begun
};
