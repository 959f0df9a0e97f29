#include "chipsim/ChipEngine.h"

#include <utility>

CChipEngine::CChipEngine(const CHIP_SETTINGS& settings)
    : m_Settings(settings), m_Hci(m_Memory, settings), m_Faults(settings.faults, settings.seed) {}

std::vector<CHIP_REPLY> CChipEngine::Receive(std::span<const unsigned char> bytes) {
    if (m_Settings.keepsLog) {
        m_ReceivedBytes.insert(m_ReceivedBytes.end(), bytes.begin(), bytes.end());
    }
    m_Framer.Append(bytes);

    REPLIES replies;
    CHIP_COMMAND command;
    while (m_Framer.TakePacket(command.packet)) {
        if (command.packet.front() == CPacketFramer::HCI_COMMAND_INDICATOR) {
            ExecuteHci(std::exchange(command, {}), replies);
        } else {
            ExecuteNci(std::exchange(command, {}), replies);
        }
    }
    return replies;
}

void CChipEngine::SetObserver(std::function<void(const CHIP_COMMAND&)> observer) {
    m_Observer = std::move(observer);
}

void CChipEngine::ExecuteHci(CHIP_COMMAND&& command, REPLIES& replies) {
    CHIP_REPLY reply = m_Hci.Answer(command);
    Finish(std::move(command), std::move(reply), replies);
}

void CChipEngine::ExecuteNci(CHIP_COMMAND&& command, REPLIES& replies) {
    std::optional<CHIP_REPLY> reply = m_Nci.Answer(command);
    std::optional<CHIP_RECORD> record = m_Nci.TakeRecord();
    if (record && m_Settings.keepsRecords) {
        m_Records.push_back(std::move(*record));
    }
    if (!reply) {
        return;
    }
    const bool isSignature = command.kind == CHIP_SIGNATURE;
    Finish(std::move(command), std::move(*reply), replies);
    if (isSignature && m_Settings.sendsResetNtf) {
        unsigned int delayMs = m_Settings.resetNtfDelayMs;
        for (const CHIP_REPLY_PIECE& piece : replies.back().pieces) {
            delayMs += piece.delayMs;
        }
        SendResetNotification(delayMs, replies);
    }
}

void CChipEngine::SendResetNotification(unsigned int delayMs, REPLIES& replies) {
    CHIP_COMMAND notification;
    CHIP_REPLY reply = CNciChip::ResetNotification(delayMs, notification);
    Finish(std::move(notification), std::move(reply), replies);
}

void CChipEngine::Finish(CHIP_COMMAND&& command, CHIP_REPLY&& reply, REPLIES& replies) {
    m_Faults.Apply(command, reply);
    replies.push_back(std::move(reply));
    if (m_Observer) {
        m_Observer(command);
    }
    if (m_Settings.keepsLog) {
        m_Commands.push_back(std::move(command));
    }
}
