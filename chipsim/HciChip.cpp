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

// No such chip holds this much, and a garbled count must not keep it busy for minutes.
constexpr std::uint32_t LONGEST_SUM = 256U << 20;

constexpr std::array<unsigned char, 4> ERASE_FLASH = {0xEF, 0xEE, 0xBE, 0xFC};
constexpr std::array<unsigned char, 4> ERASE_EEPROM = {0x00, 0x00, 0x00, 0xFF};

}  // namespace

struct CHciChip::COMMAND_RULE {
    unsigned int opcode;
    ChipCommandKinds kind;
    std::size_t fewestParameters;
    std::size_t mostParameters;
    unsigned char (CHciChip::*execute)(PARAMETERS, CHIP_COMMAND&, CHIP_REPLY&);
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

CHIP_REPLY CHciChip::Answer(CHIP_COMMAND& command) {
    const PARAMETERS parameters = PARAMETERS(command.packet).subspan(HEADER_SIZE);
    const unsigned int opcode = CopyLittleEndianBufferToUint16(&command.packet[1]);
    command.kind = CHIP_OTHER;
    command.length = static_cast<std::uint32_t>(parameters.size());
    command.status = STATUS_UNKNOWN_COMMAND;
    CHIP_REPLY reply = {{{0,
                          {EVENT_INDICATOR, COMMAND_COMPLETE_EVENT, 0, 0x01, command.packet[1],
                           command.packet[2], 0}}}};
    const auto* const rule = std::ranges::find(RULES, opcode, &COMMAND_RULE::opcode);
    if (rule != std::end(RULES)) {
        const bool fits = parameters.size() >= rule->fewestParameters &&
                          parameters.size() <= rule->mostParameters;
        command.kind = rule->kind;
        command.status =
            fits ? (this->*rule->execute)(parameters, command, reply) : STATUS_INVALID_PARAMETERS;
    }
    std::vector<unsigned char>& complete = reply.pieces.back().bytes;
    complete[2] = static_cast<unsigned char>(complete.size() - 3);
    complete[6] = command.status;
    return reply;
}

unsigned char CHciChip::Acknowledge(PARAMETERS, CHIP_COMMAND&, CHIP_REPLY&) {
    return STATUS_SUCCESS;
}

unsigned char CHciChip::WriteRam(PARAMETERS parameters, CHIP_COMMAND& command, CHIP_REPLY&) {
    const PARAMETERS data = parameters.subspan(ADDRESS_SIZE);
    command.address = CopyLittleEndianBufferToUint32(parameters.data());
    command.length = static_cast<std::uint32_t>(data.size());
    m_Memory.Write(command.address, data);
    return STATUS_SUCCESS;
}

unsigned char CHciChip::ReadRam(PARAMETERS parameters, CHIP_COMMAND& command, CHIP_REPLY& reply) {
    command.address = CopyLittleEndianBufferToUint32(parameters.data());
    command.length = parameters[ADDRESS_SIZE];
    if (command.length > LONGEST_READ) {
        return STATUS_INVALID_PARAMETERS;
    }
    std::vector<unsigned char>& bytes = reply.pieces.back().bytes;
    bytes.resize(bytes.size() + command.length);
    m_Memory.Read(command.address, std::span(bytes).last(command.length));
    return STATUS_SUCCESS;
}

unsigned char CHciChip::LaunchRam(PARAMETERS parameters, CHIP_COMMAND& command, CHIP_REPLY&) {
    command.address = CopyLittleEndianBufferToUint32(parameters.data());
    command.length = 0;
    return STATUS_SUCCESS;
}

unsigned char CHciChip::SumUp(PARAMETERS parameters, CHIP_COMMAND& command, CHIP_REPLY& reply) {
    command.address = CopyLittleEndianBufferToUint32(parameters.data());
    command.length = CopyLittleEndianBufferToUint32(&parameters[ADDRESS_SIZE]);
    if (command.length > LONGEST_SUM) {
        return STATUS_INVALID_PARAMETERS;
    }
    unsigned char sum[4];
    CopyUint32ToLittleEndianBuffer(m_Memory.Crc(command.address, command.length), sum);
    std::vector<unsigned char>& bytes = reply.pieces.back().bytes;
    bytes.insert(bytes.end(), std::begin(sum), std::end(sum));
    return STATUS_SUCCESS;
}

unsigned char CHciChip::EraseChip(PARAMETERS parameters, CHIP_COMMAND&, CHIP_REPLY& reply) {
    if (!std::ranges::equal(parameters, ERASE_FLASH) &&
        !std::ranges::equal(parameters, ERASE_EEPROM)) {
        return STATUS_INVALID_PARAMETERS;
    }
    m_Memory.EraseAllBut(m_Settings.ramFirst, m_Settings.ramLast);
    const unsigned int step = m_Settings.eraseTimeMs / (m_Settings.eraseMarkers + 1);
    reply.pieces.back().delayMs = m_Settings.eraseTimeMs - step * m_Settings.eraseMarkers;
    const CHIP_REPLY_PIECE marker = {step, {EVENT_INDICATOR, VENDOR_EVENT, 0x01, ERASE_PROGRESS}};
    reply.pieces.insert(reply.pieces.begin(), m_Settings.eraseMarkers, marker);
    return STATUS_SUCCESS;
}
