#include "transport/PcapngFormat.h"

#include "util/ByteOrder.h"

namespace {

constexpr unsigned int LINKTYPE_BLUETOOTH_HCI_H4_WITH_PHDR = 201;
constexpr unsigned int LINKTYPE_USER0 = 147;

// A length of two bytes that the padding to four must not carry over.
constexpr std::size_t LONGEST_OPTION = 0xFFFC;

// Puts one block together. An option's number means something else in each type of block.
class CBlock {
public:
    explicit CBlock(unsigned int type) {
        Put32(type);
        Put32(0);  // the length, once it is known
    }

    void Put32(unsigned int value) {
        m_Bytes.resize(m_Bytes.size() + 4);
        CopyUint32ToLittleEndianBuffer(value, &m_Bytes[m_Bytes.size() - 4]);
    }

    template <typename Range>
    void PutPadded(const Range& bytes) {
        m_Bytes.insert(m_Bytes.end(), bytes.begin(), bytes.end());
        m_Bytes.resize((m_Bytes.size() + 3) / 4 * 4);
    }

    void PutOption(unsigned int number, std::string_view value) {
        value = value.substr(0, LONGEST_OPTION);
        Put32(number | static_cast<unsigned int>(value.size()) << 16);
        PutPadded(value);
    }

    std::vector<unsigned char> Finish() {
        Put32(0);  // no more options
        const auto length = static_cast<unsigned int>(m_Bytes.size() + 4);
        Put32(length);
        CopyUint32ToLittleEndianBuffer(length, &m_Bytes[4]);
        return std::move(m_Bytes);
    }

private:
    std::vector<unsigned char> m_Bytes;
};

std::vector<unsigned char> MakeSectionHeader(const std::string& program) {
    CBlock block(0x0A0D0D0A);
    block.Put32(0x1A2B3C4D);  // tells the byte order
    block.Put32(1);           // version 1.0
    block.Put32(0xFFFFFFFF);  // the section's length, of 64 bits, is not known
    block.Put32(0xFFFFFFFF);
    block.PutOption(4, program);
    return block.Finish();
}

std::vector<unsigned char> MakeInterface(unsigned int linkType, const std::string& port,
                                         const char* description) {
    CBlock block(1);
    block.Put32(linkType);
    block.Put32(0);  // a packet may be of any length
    block.PutOption(2, port);
    block.PutOption(3, description);
    block.PutOption(9, "\x09");  // times in nanoseconds
    return block.Finish();
}

}  // namespace

std::vector<unsigned char> MakePcapngBeginning(const std::string& program,
                                               const std::string& port) {
    std::vector<unsigned char> bytes = MakeSectionHeader(program);
    for (const auto& block :
         {MakeInterface(LINKTYPE_BLUETOOTH_HCI_H4_WITH_PHDR, port, "HCI packets"),
          MakeInterface(LINKTYPE_USER0, port, "NCI packets, other bytes, notes")}) {
        bytes.insert(bytes.end(), block.begin(), block.end());
    }
    return bytes;
}

std::vector<unsigned char> MakePcapngBlock(const CAPTURED_ITEM& item) {
    std::vector<unsigned char> data(item.m_Bytes.begin(), item.m_Bytes.end());
    if (item.m_bIsHci) {
        // The pseudo-header of the link type: the direction, big-endian.
        const unsigned char isReceived = item.m_Direction == CAPTURE_FROM_CHIP ? 1 : 0;
        data.insert(data.begin(), {0, 0, 0, isReceived});
    }
    CBlock block(6);
    block.Put32(item.m_bIsHci ? 0 : 1);  // the interface
    block.Put32(static_cast<unsigned int>(item.m_nTime >> 32));
    block.Put32(static_cast<unsigned int>(item.m_nTime));
    block.Put32(static_cast<unsigned int>(data.size()));  // in the file
    block.Put32(static_cast<unsigned int>(data.size()));  // on the line
    block.PutPadded(data);
    if (item.m_Direction == CAPTURE_NO_DIRECTION) {
        block.PutOption(1, item.m_strNote);
    } else {
        // The flags: 1 is inbound, 2 outbound, as the directions are numbered.
        const char flags[] = {static_cast<char>(item.m_Direction), 0, 0, 0};
        block.PutOption(2, {flags, sizeof flags});
    }
    return block.Finish();
}
