#pragma once

#include <optional>
#include <vector>

#include "chipsim/ChipCommand.h"

// The chip's side of the NCI packets (NFC Forum, NFC Controller Interface) that load a patch set.
// On the line each packet follows an indicator byte 0x10. No I/O and no clock.
//
// Not synchronised: one thread at a time.
class CNciChip {
public:
    // Fills in the command, of which the packet is given. None for a segment that another follows:
    // the record is the command, not its segments. The packet of a whole record becomes what stands
    // in its file: 10 2F 2E, the low eight bits of the length, the payload.
    std::optional<CHIP_REPLY> Answer(CHIP_COMMAND& command);

    // CORE_RESET_NTF, which some chips send once the patch set runs.
    static CHIP_REPLY ResetNotification(unsigned int delayMs, CHIP_COMMAND& command);

private:
    std::optional<CHIP_REPLY> AnswerSegment(CHIP_COMMAND& command);

    std::vector<unsigned char> m_Payload;  // of the segments so far
    unsigned int m_nSegments = 0;
};
