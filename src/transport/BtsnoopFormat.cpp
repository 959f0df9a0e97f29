#include "transport/BtsnoopFormat.h"

#include <algorithm>

#include "util/ByteOrder.h"

namespace {

constexpr std::size_t RECORD_HEADER_SIZE = 24;
constexpr unsigned int RECEIVED = 1;
constexpr unsigned int COMMAND_OR_EVENT = 2;

// 1970 in microseconds since the year 0, from which the format counts.
constexpr std::int64_t YEAR_1970 = 0x00DCDDB30F2F8000;

}  // namespace

std::vector<unsigned char> MakeBtsnoopBeginning() {
    // The name, version 1, and data link 1002: HCI packets with their indicators, as on a UART.
    return {'b', 't', 's', 'n', 'o', 'o', 'p', 0, 0, 0, 0, 1, 0, 0, 0x03, 0xEA};
}

std::vector<unsigned char> MakeBtsnoopRecord(const CAPTURED_ITEM& item) {
    if (!item.m_bIsHci) {
        return {};
    }
    std::vector<unsigned char> record(RECORD_HEADER_SIZE + item.m_Bytes.size());
    const auto size = static_cast<unsigned int>(item.m_Bytes.size());
    CopyUint32ToByteBuffer(size, &record[0]);  // on the line
    CopyUint32ToByteBuffer(size, &record[4]);  // in the file
    CopyUint32ToByteBuffer(
        COMMAND_OR_EVENT | (item.m_Direction == CAPTURE_FROM_CHIP ? RECEIVED : 0), &record[8]);
    CopyInt64ToByteBuffer(YEAR_1970 + item.m_nTime / 1000, &record[16]);
    std::ranges::copy(item.m_Bytes, record.begin() + RECORD_HEADER_SIZE);
    return record;
}
