#pragma once

#include <span>

#include "chipsim/ChipCommand.h"
#include "chipsim/ChipSettings.h"
#include "chipsim/SparseMemory.h"

// The chip's side of the HCI commands (Bluetooth Core, Vol 4 Part E) over a memory: executes one
// command and says what the chip answers. No I/O and no clock; pauses are part of the reply.
//
// Not synchronised: one thread at a time. The memory must outlive the chip.
class CHciChip {
public:
    CHciChip(CSparseMemory& memory, const CHIP_SETTINGS& settings);

    // Fills in the command, of which the packet is given.
    CHIP_REPLY Answer(CHIP_COMMAND& command);

private:
    using PARAMETERS = std::span<const unsigned char>;
    struct COMMAND_RULE;
    static const COMMAND_RULE RULES[];

    // Each returns the status. The reply holds a Command Complete event without return parameters;
    // they are appended to it, and events that come earlier are put before it.
    unsigned char Acknowledge(PARAMETERS parameters, CHIP_COMMAND& command, CHIP_REPLY& reply);
    unsigned char WriteRam(PARAMETERS parameters, CHIP_COMMAND& command, CHIP_REPLY& reply);
    unsigned char ReadRam(PARAMETERS parameters, CHIP_COMMAND& command, CHIP_REPLY& reply);
    unsigned char LaunchRam(PARAMETERS parameters, CHIP_COMMAND& command, CHIP_REPLY& reply);
    unsigned char SumUp(PARAMETERS parameters, CHIP_COMMAND& command, CHIP_REPLY& reply);
    unsigned char EraseChip(PARAMETERS parameters, CHIP_COMMAND& command, CHIP_REPLY& reply);

    CSparseMemory& m_Memory;
    const CHIP_SETTINGS m_Settings;
};
