#include "chipsim/ChipEngine.h"

#include <utility>

CChipEngine::CChipEngine(const CHIP_SETTINGS& settings)
    : m_Settings(settings), m_Hci(m_Memory, settings), m_Faults(settings.faults, settings.seed) {}

std::vector<CHIP_REPLY> CChipEngine::Receive(std::span<const unsigned char> bytes) {
    if (m_Settings.keepsLog)
        m_ReceivedBytes.insert(m_ReceivedBytes.end(), bytes.begin(), bytes.end());
    m_Framer.Append(bytes);

    std::vector<CHIP_REPLY> replies;
    CHIP_COMMAND command;
    while (m_Framer.TakePacket(command.packet)) {
        CHIP_REPLY reply = Execute(command);
        m_Faults.Apply(command, reply);
        replies.push_back(std::move(reply));
        Record(std::exchange(command, {}));
    }
    return replies;
}

void CChipEngine::SetObserver(std::function<void(const CHIP_COMMAND&)> observer) {
    m_Observer = std::move(observer);
}

CHIP_REPLY CChipEngine::Execute(CHIP_COMMAND& command) {
    if (command.packet.front() == CPacketFramer::HCI_COMMAND_INDICATOR)
        return m_Hci.Answer(command);
    return {};
}

void CChipEngine::Record(CHIP_COMMAND&& command) {
    if (m_Observer)
        m_Observer(command);
    if (m_Settings.keepsLog)
        m_Commands.push_back(std::move(command));
}
