#include "image/HciCommand.h"

#include <algorithm>

#include "util/ByteOrder.h"

namespace {

constexpr std::size_t HEADER_SIZE = 3;

unsigned char LowByte(std::size_t value) {
    return static_cast<unsigned char>(value & 0xFF);
}

}  // namespace

std::vector<unsigned char> HCI_COMMAND::Bytes() const {
    return {LowByte(m_nOpcode), LowByte(m_nOpcode >> 8), 0};
}

std::vector<unsigned char> HCI_COMMAND::Bytes(std::uint32_t number,
                                              std::span<const unsigned char> rest) const {
    std::vector<unsigned char> bytes(HEADER_SIZE + sizeof number + rest.size());
    CopyUint16ToLittleEndianBuffer(m_nOpcode, bytes.data());
    bytes[2] = LowByte(bytes.size() - HEADER_SIZE);
    CopyUint32ToLittleEndianBuffer(number, &bytes[HEADER_SIZE]);
    std::copy(rest.begin(), rest.end(), bytes.begin() + HEADER_SIZE + sizeof number);
    return bytes;
}

std::vector<unsigned char> HCI_COMMAND::Completion(unsigned char returnSize) const {
    return {0x0E, LowByte(4U + returnSize), 0x01, LowByte(m_nOpcode), LowByte(m_nOpcode >> 8), 0};
}
