#pragma once

#include <span>

#include "chipsim/ChipCommand.h"
#include "chipsim/ChipSettings.h"
#include "chipsim/SparseMemory.h"

// The chip's side of the HCI commands (Bluetooth Core, Vol 4 Part E) over a memory: carries one
// command out and says what the chip answers. No I/O and no clock; pauses are part of the reply.
//
// Not synchronised: one thread at a time. The memory must outlive the chip.
class CHciChip {
public:
    CHciChip(CSparseMemory& memory, const CHIP_SETTINGS& settings);

    // command.packet holds one whole HCI command packet; the other fields are filled in.
    CHIP_REPLY Answer(CHIP_COMMAND& command);

private:
    using PARAMETERS = std::span<const unsigned char>;
    struct COMMAND_RULE;
    static const COMMAND_RULE RULES[];
    static const COMMAND_RULE* FindRule(unsigned int opcode);

    // Each returns the status; return parameters and earlier events go into the two lists.
    unsigned char Acknowledge(PARAMETERS parameters, CHIP_COMMAND& command);
    unsigned char WriteRam(PARAMETERS parameters, CHIP_COMMAND& command);
    unsigned char ReadRam(PARAMETERS parameters, CHIP_COMMAND& command);
    unsigned char LaunchRam(PARAMETERS parameters, CHIP_COMMAND& command);
    unsigned char SumUp(PARAMETERS parameters, CHIP_COMMAND& command);
    unsigned char EraseChip(PARAMETERS parameters, CHIP_COMMAND& command);

    CHIP_REPLY CommandComplete(const CHIP_COMMAND& command);

    CSparseMemory& m_Memory;
    const CHIP_SETTINGS m_Settings;
    std::vector<unsigned char> m_ReturnParameters;  // behind the status, for the current command
    std::vector<CHIP_REPLY_PIECE> m_EventsBefore;   // ahead of Command Complete
    unsigned int m_nCompleteDelayMs = 0;
};
