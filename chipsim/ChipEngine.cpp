#include "chipsim/ChipEngine.h"

#include <utility>

CChipEngine::CChipEngine(const CHIP_SETTINGS& settings, CHIP_OBSERVER observer, CLineObserver* line)
    : m_Settings(settings),
      m_Observer(std::move(observer)),
      m_Framer(line),
      m_Hci(m_Memory, settings),
      m_Faults(settings.faults, settings.seed) {}

std::vector<CHIP_REPLY> CChipEngine::Receive(std::span<const unsigned char> bytes) {
    m_Framer.Append(bytes);
    REPLIES replies;
    CHIP_COMMAND command;
    while (m_Framer.TakePacket(command.packet)) {
        const bool isHci = command.packet.front() == CPacketFramer::HCI_COMMAND_INDICATOR;
        std::optional<CHIP_REPLY> reply = isHci ? m_Hci.Answer(command) : m_Nci.Answer(command);
        if (reply) {
            Finish(command, std::move(*reply), replies);
        }
        if (command.kind == CHIP_SIGNATURE && m_Settings.sendsResetNtf) {
            SendResetNotification(replies);
        }
        command = {};
    }
    return replies;
}

// Counts its delay from the end of the signature's answer.
void CChipEngine::SendResetNotification(REPLIES& replies) {
    unsigned int delayMs = m_Settings.resetNtfDelayMs;
    for (const CHIP_REPLY_PIECE& piece : replies.back().pieces) {
        delayMs += piece.delayMs;
    }
    CHIP_COMMAND notification;
    CHIP_REPLY reply = CNciChip::ResetNotification(delayMs, notification);
    Finish(notification, std::move(reply), replies);
}

void CChipEngine::Finish(CHIP_COMMAND& command, CHIP_REPLY&& reply, REPLIES& replies) {
    m_Faults.Apply(command, reply);
    replies.push_back(std::move(reply));
    if (m_Observer) {
        m_Observer(command);
    }
}
