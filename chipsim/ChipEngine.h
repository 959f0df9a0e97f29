#pragma once

#include <functional>
#include <span>
#include <vector>

#include "chipsim/ChipCommand.h"
#include "chipsim/ChipSettings.h"
#include "chipsim/FaultPlan.h"
#include "chipsim/HciChip.h"
#include "chipsim/NciChip.h"
#include "chipsim/PacketFramer.h"
#include "chipsim/SparseMemory.h"

// Called for each command once it is executed.
using CHIP_OBSERVER = std::function<void(const CHIP_COMMAND&)>;

// The whole chip without its line: bytes in, replies out.
//
// Not synchronised: one thread at a time, which also runs the observer.
class CChipEngine {
public:
    // line, which may be null, is told of what the host sends.
    explicit CChipEngine(const CHIP_SETTINGS& settings, CHIP_OBSERVER observer = {},
                         CLineObserver* line = nullptr);
    CChipEngine(const CChipEngine&) = delete;
    CChipEngine& operator=(const CChipEngine&) = delete;

    // Takes the bytes, executes every packet that they complete and returns what the chip sends,
    // in order.
    std::vector<CHIP_REPLY> Receive(std::span<const unsigned char> bytes);

    // Drops a packet whose rest does not come, as a chip's byte time-out does, so that the next
    // packet is recognised.
    bool IsMidPacket() const { return m_Framer.IsMidPacket(); }
    void LineWentQuiet() { m_Framer.Restart(); }

    CSparseMemory& Memory() { return m_Memory; }
    const CSparseMemory& Memory() const { return m_Memory; }

private:
    using REPLIES = std::vector<CHIP_REPLY>;

    void SendResetNotification(REPLIES& replies);
    void Finish(CHIP_COMMAND& command, CHIP_REPLY&& reply, REPLIES& replies);

    const CHIP_SETTINGS m_Settings;
    const CHIP_OBSERVER m_Observer;
    CSparseMemory m_Memory;
    CPacketFramer m_Framer;
    CHciChip m_Hci;
    CNciChip m_Nci;
    CFaultPlan m_Faults;
};
