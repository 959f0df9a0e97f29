#include "chipsim/HciChip.h"

#include <algorithm>
#include <array>

#include "util/ByteOrder.h"

namespace {

constexpr unsigned char EVENT_INDICATOR = 0x04;
constexpr unsigned char COMMAND_COMPLETE_EVENT = 0x0E;
constexpr unsigned char VENDOR_EVENT = 0xFF;
constexpr unsigned char ERASE_PROGRESS = 0xCE;

// Bluetooth Core, Vol 1 Part F.
constexpr unsigned char STATUS_SUCCESS = 0x00;
constexpr unsigned char STATUS_UNKNOWN_COMMAND = 0x01;
constexpr unsigned char STATUS_INVALID_PARAMETERS = 0x12;

constexpr std::size_t HEADER_SIZE = 4;  // indicator, opcode, parameter length
constexpr std::size_t ADDRESS_SIZE = 4;
constexpr unsigned int LONGEST_READ = 251;  // 255 less the event's own 4 parameter bytes

// A garbled count must not keep the chip busy for minutes; no such chip holds this much.
constexpr std::uint32_t LONGEST_SUM = 256U << 20;

constexpr std::array<unsigned char, 4> ERASE_FLASH = {0xEF, 0xEE, 0xBE, 0xFC};
constexpr std::array<unsigned char, 4> ERASE_EEPROM = {0x00, 0x00, 0x00, 0xFF};

}  // namespace

struct CHciChip::COMMAND_RULE {
    unsigned int opcode;
    ChipCommandKinds kind;
    std::size_t fewestParameters;
    std::size_t mostParameters;
    unsigned char (CHciChip::*execute)(PARAMETERS, CHIP_COMMAND&);
};

const CHciChip::COMMAND_RULE CHciChip::RULES[] = {
    {0x0C03, CHIP_RESET, 0, 0, &CHciChip::Acknowledge},
    {0xFC2E, CHIP_MINIDRIVER, 0, 0, &CHciChip::Acknowledge},
    {0xFC4C, CHIP_WRITE, 4, 255, &CHciChip::WriteRam},
    {0xFC4D, CHIP_READ, 5, 5, &CHciChip::ReadRam},
    {0xFC4E, CHIP_LAUNCH, 4, 4, &CHciChip::LaunchRam},
    {0xFCCC, CHIP_CRC, 8, 8, &CHciChip::SumUp},
    {0xFFCE, CHIP_ERASE, 4, 4, &CHciChip::EraseChip},
};

CHciChip::CHciChip(CSparseMemory& memory, const CHIP_SETTINGS& settings)
    : m_Memory(memory), m_Settings(settings) {}

const CHciChip::COMMAND_RULE* CHciChip::FindRule(unsigned int opcode) {
    const auto* rule = std::find_if(std::begin(RULES), std::end(RULES), [&](const auto& candidate) {
        return candidate.opcode == opcode;
    });
    return rule == std::end(RULES) ? nullptr : rule;
}

CHIP_REPLY CHciChip::Answer(CHIP_COMMAND& command) {
    m_ReturnParameters.clear();
    m_EventsBefore.clear();
    m_nCompleteDelayMs = 0;

    const PARAMETERS parameters = PARAMETERS(command.packet).subspan(HEADER_SIZE);
    const COMMAND_RULE* rule = FindRule(CopyLittleEndianBufferToUint16(&command.packet[1]));
    command.length = static_cast<std::uint32_t>(parameters.size());
    if (rule == nullptr) {
        command.kind = CHIP_OTHER;
        command.status = STATUS_UNKNOWN_COMMAND;
    } else {
        command.kind = rule->kind;
        const bool fits = parameters.size() >= rule->fewestParameters &&
                          parameters.size() <= rule->mostParameters;
        command.status =
            fits ? (this->*rule->execute)(parameters, command) : STATUS_INVALID_PARAMETERS;
    }
    return CommandComplete(command);
}

unsigned char CHciChip::Acknowledge(PARAMETERS, CHIP_COMMAND&) {
    return STATUS_SUCCESS;
}

unsigned char CHciChip::WriteRam(PARAMETERS parameters, CHIP_COMMAND& command) {
    const PARAMETERS data = parameters.subspan(ADDRESS_SIZE);
    command.address = CopyLittleEndianBufferToUint32(parameters.data());
    command.length = static_cast<std::uint32_t>(data.size());
    m_Memory.Write(command.address, data);
    return STATUS_SUCCESS;
}

unsigned char CHciChip::ReadRam(PARAMETERS parameters, CHIP_COMMAND& command) {
    command.address = CopyLittleEndianBufferToUint32(parameters.data());
    command.length = parameters[ADDRESS_SIZE];
    if (command.length > LONGEST_READ) {
        return STATUS_INVALID_PARAMETERS;
    }
    m_ReturnParameters.resize(command.length);
    m_Memory.Read(command.address, m_ReturnParameters);
    return STATUS_SUCCESS;
}

unsigned char CHciChip::LaunchRam(PARAMETERS parameters, CHIP_COMMAND& command) {
    command.address = CopyLittleEndianBufferToUint32(parameters.data());
    command.length = 0;
    return STATUS_SUCCESS;
}

unsigned char CHciChip::SumUp(PARAMETERS parameters, CHIP_COMMAND& command) {
    command.address = CopyLittleEndianBufferToUint32(parameters.data());
    command.length = CopyLittleEndianBufferToUint32(&parameters[ADDRESS_SIZE]);
    if (command.length > LONGEST_SUM) {
        return STATUS_INVALID_PARAMETERS;
    }
    m_ReturnParameters.resize(4);
    CopyUint32ToLittleEndianBuffer(m_Memory.Crc(command.address, command.length),
                                   m_ReturnParameters.data());
    return STATUS_SUCCESS;
}

unsigned char CHciChip::EraseChip(PARAMETERS parameters, CHIP_COMMAND&) {
    if (!std::ranges::equal(parameters, ERASE_FLASH) &&
        !std::ranges::equal(parameters, ERASE_EEPROM)) {
        return STATUS_INVALID_PARAMETERS;
    }
    m_Memory.EraseAllBut(m_Settings.ramFirst, m_Settings.ramLast);
    const unsigned int step = m_Settings.eraseTimeMs / (m_Settings.eraseMarkers + 1);
    for (unsigned int i = 0; i < m_Settings.eraseMarkers; ++i) {
        m_EventsBefore.push_back({step, {EVENT_INDICATOR, VENDOR_EVENT, 0x01, ERASE_PROGRESS}});
    }
    m_nCompleteDelayMs = m_Settings.eraseTimeMs - step * m_Settings.eraseMarkers;
    return STATUS_SUCCESS;
}

CHIP_REPLY CHciChip::CommandComplete(const CHIP_COMMAND& command) {
    const std::size_t size = 4 + m_ReturnParameters.size();
    CHIP_REPLY_PIECE complete;
    complete.delayMs = m_nCompleteDelayMs;
    complete.bytes = {EVENT_INDICATOR,
                      COMMAND_COMPLETE_EVENT,
                      static_cast<unsigned char>(size),
                      0x01,
                      command.packet[1],
                      command.packet[2],
                      command.status};
    complete.bytes.insert(complete.bytes.end(), m_ReturnParameters.begin(),
                          m_ReturnParameters.end());
    CHIP_REPLY reply{std::move(m_EventsBefore)};
    reply.pieces.push_back(std::move(complete));
    return reply;
}
