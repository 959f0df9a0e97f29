#include "chipsim/NciChip.h"

#include <utility>

#include "chipsim/PacketFramer.h"

namespace {

constexpr unsigned char INDICATOR = CPacketFramer::NCI_INDICATOR;
constexpr std::size_t HEADER_SIZE = CPacketFramer::HEADER_SIZE;

// The first header byte: message type, packet boundary flag, group.
constexpr unsigned char TYPE_MASK = 0xE0;
constexpr unsigned char COMMAND_TYPE = 0x20;
constexpr unsigned char RESPONSE_TYPE = 0x40;
constexpr unsigned char MORE_FOLLOWS = 0x10;
constexpr unsigned char GROUP_MASK = 0x0F;
constexpr unsigned char PROPRIETARY_GROUP = 0x0F;

constexpr unsigned char RECORD_OPCODE = 0x2E;
constexpr unsigned char SECURE_MODE_OPCODE = 0x23;
constexpr unsigned char SIGNATURE_TYPE = 6;

constexpr unsigned char STATUS_OK = 0x00;
constexpr unsigned char STATUS_REJECTED = 0x01;
constexpr unsigned char STATUS_INVALID_PARAM = 0x09;
constexpr unsigned char STATUS_MESSAGE_SIZE_EXCEEDED = 0x0A;

constexpr std::size_t LONGEST_RECORD = 0x10000;

CHIP_REPLY Response(const CHIP_COMMAND& command) {
    const auto first = static_cast<unsigned char>(RESPONSE_TYPE | (command.packet[1] & GROUP_MASK));
    return {{{0, {INDICATOR, first, command.packet[2], 0x01, command.status}}}};
}

}  // namespace

std::optional<CHIP_REPLY> CNciChip::Answer(CHIP_COMMAND& command) {
    const unsigned char first = command.packet[1];
    const unsigned char opcode = command.packet[2];
    command.kind = CHIP_OTHER;
    command.length = static_cast<std::uint32_t>(command.packet.size() - HEADER_SIZE);
    if ((first & TYPE_MASK) != COMMAND_TYPE) {
        return CHIP_REPLY();  // data, or what only a chip may send
    }
    if ((first & GROUP_MASK) == PROPRIETARY_GROUP && opcode == RECORD_OPCODE) {
        return AnswerSegment(command);
    }
    if ((first & GROUP_MASK) == PROPRIETARY_GROUP && opcode == SECURE_MODE_OPCODE) {
        command.kind = CHIP_SECURE;
        command.status = command.length == 1 ? STATUS_OK : STATUS_INVALID_PARAM;
    } else {
        command.status = STATUS_REJECTED;
    }
    return Response(command);
}

std::optional<CHIP_REPLY> CNciChip::AnswerSegment(CHIP_COMMAND& command) {
    m_Payload.insert(m_Payload.end(), command.packet.begin() + HEADER_SIZE, command.packet.end());
    ++m_nSegments;
    const bool isTooLong = m_Payload.size() > LONGEST_RECORD;
    if ((command.packet[1] & MORE_FOLLOWS) != 0 && !isTooLong) {
        return std::nullopt;
    }
    const std::vector<unsigned char> payload = std::exchange(m_Payload, {});
    command.kind = CHIP_PATCH;
    command.length = static_cast<std::uint32_t>(payload.size());
    command.segments = std::exchange(m_nSegments, 0);
    if (isTooLong || payload.empty()) {
        command.status = isTooLong ? STATUS_MESSAGE_SIZE_EXCEEDED : STATUS_INVALID_PARAM;
        return Response(command);
    }
    command.packet.resize(HEADER_SIZE);
    command.packet.back() = static_cast<unsigned char>(payload.size());
    command.packet.insert(command.packet.end(), payload.begin(), payload.end());
    CHIP_REPLY reply = Response(command);
    if (payload.front() == SIGNATURE_TYPE) {
        command.kind = CHIP_SIGNATURE;
        std::vector<unsigned char>& bytes = reply.pieces.front().bytes;
        bytes.insert(bytes.end(), {INDICATOR, 0x6F, RECORD_OPCODE, 0x01, STATUS_OK});
    }
    return reply;
}

CHIP_REPLY CNciChip::ResetNotification(unsigned int delayMs, CHIP_COMMAND& command) {
    command.kind = CHIP_RESET_NTF;
    command.packet = {INDICATOR, 0x60, 0x00, 0x02, 0x00, 0x01};
    command.length = 2;
    return {{{delayMs, command.packet}}};
}
