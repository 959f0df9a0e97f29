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

// The whole chip without its line: bytes in, replies out.
//
// Not synchronised: one thread at a time.
class CChipEngine {
public:
    explicit CChipEngine(const CHIP_SETTINGS& settings);
    CChipEngine(const CChipEngine&) = delete;
    CChipEngine& operator=(const CChipEngine&) = delete;

    // Takes the bytes, carries out every packet that they complete and returns what the chip
    // sends, in order.
    std::vector<CHIP_REPLY> Receive(std::span<const unsigned char> bytes);

    // A packet that has begun and whose rest does not come is given up, as a chip's own byte
    // time-out does, so that the next packet is seen.
    bool IsMidPacket() const { return m_Framer.IsMidPacket(); }
    void LineWentQuiet() { m_Framer.Restart(); }

    // Called for each command once it is carried out, on the thread that calls Receive.
    void SetObserver(std::function<void(const CHIP_COMMAND&)> observer);

    CSparseMemory& Memory() { return m_Memory; }
    const CSparseMemory& Memory() const { return m_Memory; }

    // These are empty when the settings say not to keep them.
    const std::vector<CHIP_COMMAND>& Commands() const { return m_Commands; }
    const std::vector<unsigned char>& ReceivedBytes() const { return m_ReceivedBytes; }
    const std::vector<CHIP_RECORD>& Records() const { return m_Records; }

private:
    using REPLIES = std::vector<CHIP_REPLY>;

    void ExecuteHci(CHIP_COMMAND&& command, REPLIES& replies);
    void ExecuteNci(CHIP_COMMAND&& command, REPLIES& replies);
    void SendResetNotification(unsigned int delayMs, REPLIES& replies);
    void Finish(CHIP_COMMAND&& command, CHIP_REPLY&& reply, REPLIES& replies);

    const CHIP_SETTINGS m_Settings;
    CSparseMemory m_Memory;
    CPacketFramer m_Framer;
    CHciChip m_Hci;
    CNciChip m_Nci;
    CFaultPlan m_Faults;
    std::function<void(const CHIP_COMMAND&)> m_Observer;
    std::vector<CHIP_COMMAND> m_Commands;
    std::vector<unsigned char> m_ReceivedBytes;
    std::vector<CHIP_RECORD> m_Records;
};
