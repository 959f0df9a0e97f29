#pragma once

#include <optional>
#include <vector>

#include "chipsim/ChipCommand.h"

// A patch or signature record as it reached the chip, put together from its segments: the four
// header bytes 10 2F 2E and the length (its low eight bits, should it be longer than a whole packet
// can say), then the payload, whose first byte is the record's type.
struct CHIP_RECORD {
    std::vector<unsigned char> bytes;
    unsigned int segments = 1;
};

// The chip's side of the NCI packets (NFC Forum, NFC Controller Interface) that load a patch set.
// On the line each packet follows an indicator byte 0x10. No I/O and no clock.
//
// Not synchronised: one thread at a time.
class CNciChip {
public:
    // command.packet holds one whole packet; the other fields are filled in. No reply for a segment
    // that more will follow: the record is the command, not its segments.
    std::optional<CHIP_REPLY> Answer(CHIP_COMMAND& command);

    // The record that the last answer acknowledged; to be taken once.
    std::optional<CHIP_RECORD> TakeRecord();

    // CORE_RESET_NTF, which some chips send once they run the patch set.
    static CHIP_REPLY ResetNotification(unsigned int delayMs, CHIP_COMMAND& command);

private:
    std::optional<CHIP_REPLY> AnswerSegment(CHIP_COMMAND& command);
    CHIP_REPLY AnswerRecord(CHIP_COMMAND& command);

    std::vector<unsigned char> m_Payload;  // of the segments so far
    unsigned int m_nSegments = 0;
    std::optional<CHIP_RECORD> m_Record;
};
