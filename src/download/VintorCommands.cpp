#include "download/VintorCommands.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "download/ChipDownloader.h"
#include "download/HciExchange.h"
#include "download/HciTrace.h"
#include "download/ReceiveBuffer.h"
#include "os/OSTime.h"
#include "transport/SerialConnector.h"
#include "util/ByteOrder.h"
#include "util/FormatText.h"
#include "util/Wrap32.h"

namespace {

constexpr unsigned char EVENT_INDICATOR = 0x04;  // of a UART packet
constexpr unsigned int CRC_SIZE = 4;
constexpr unsigned int CRC_POLL_MS = 4;
constexpr unsigned int ERASE_POLL_MS = 5;
constexpr unsigned int MAX_ERASE_POLLS_WITHOUT_PROGRESS = 5000;
constexpr unsigned int ROOM_FOR_REPLY = 128;

// Reads memory into data, at most 255 bytes. The error text, empty on success.
std::string ReadRAM(CSerialConnector* connector, CByteBuffer* prefix, unsigned int address,
                    std::span<unsigned char> data) {
    const auto n = static_cast<unsigned char>(data.size());
    std::vector<unsigned char> command = HCI_READ_RAM.Bytes(address, {&n, 1});
    // With the packet indicator: the reply has to stand at the very start of what comes.
    std::vector<unsigned char> reply = HCI_READ_RAM.Completion(n);
    reply.insert(reply.begin(), EVENT_INDICATOR);
    const auto headerSize = static_cast<unsigned int>(reply.size());
    reply.resize(headerSize + data.size());
    std::string error;
    if (!SendCommandAndWaitForCompletionMatchRxStart(
            connector, prefix, command.data(), static_cast<unsigned int>(command.size()),
            reply.data(), headerSize, static_cast<unsigned int>(reply.size()),
            HCI_READ_RAM.m_nTimeoutMs, &error, nullptr) &&
        error.empty()) {
        return "Verify record request did not get completed by the firmware";
    }
    std::copy(reply.begin() + headerSize, reply.end(), data.begin());
    return error;
}

// Formats: failed for address and reason, done for the address.
bool Launch(CChipDownloader* downloader, const HCI_COMMAND& kind, unsigned int address,
            const char* failed, const char* done) {
    const CLockGuard access(downloader->AccessLock());
    if (const ReplyFailure failure =
            ExecuteCommand(downloader->SerialConnector(), downloader->UARTTransmitPrefix(), kind,
                           kind.Bytes(address))) {
        downloader->SetError(FormatText(failed, address, failure->c_str()));
        return false;
    }
    downloader->SetStatusDetails(FormatText(done, address));
    return true;
}

// The CRC that the chip computed, unless it does not answer.
std::optional<unsigned int> ReceiveCRC(CSerialConnector* connector) {
    const std::vector<unsigned char> pattern = HCI_CHECK_CRC.Completion(CRC_SIZE);
    CReceiveBuffer received(ROOM_FOR_REPLY);
    for (unsigned int ms = 0; ms < HCI_CHECK_CRC.m_nTimeoutMs; ms += CRC_POLL_MS) {
        PutThreadToSleep(CRC_POLL_MS);
        const std::size_t before = received.Bytes().size();
        if (!received.Fetch(connector).empty()) {
            break;
        }
        if (const auto bytes = received.Bytes(); bytes.size() > before) {
            DebugOut("VerifyCRC  received bytes from HW: ", bytes.data(),
                     static_cast<unsigned int>(bytes.size()));
        }
        if (const unsigned char* found = received.Find(pattern, CRC_SIZE)) {
            return CopyLittleEndianBufferToUint32(found + pattern.size());
        }
    }
    return std::nullopt;
}

// The error text, empty once the chip has said that it is done.
std::string WaitForErase(CChipDownloader* downloader) {
    static constexpr unsigned char PROGRESS[] = {0xFF, 0x01, 0xCE};
    const std::vector<unsigned char> completion = HCI_CHIP_ERASE.Completion();
    constexpr unsigned int MAX_POLLS = HCI_CHIP_ERASE.m_nTimeoutMs / ERASE_POLL_MS;
    CSerialConnector* const connector = downloader->SerialConnector();
    CReceiveBuffer received(ROOM_FOR_REPLY);
    unsigned int lastProgressPoll = 0;
    for (unsigned int poll = 0;;) {
        const unsigned int left = std::min(
            MAX_POLLS - poll, lastProgressPoll + MAX_ERASE_POLLS_WITHOUT_PROGRESS + 1 - poll);
        poll += connector->SleepUntilBytes(ERASE_POLL_MS, received.Bytes().empty() ? left : 1);
        std::string error = received.Fetch(connector);
        if (!error.empty() || received.Find(completion) != nullptr) {
            return error;
        }
        if (received.EndsWith(PROGRESS)) {
            received.DropFront(received.Bytes().size());
            lastProgressPoll = poll;
            const CLockGuard access(downloader->AccessLock());
            downloader->SetStatusDetails("Chip erase in progress");
        }
        if (poll - lastProgressPoll > MAX_ERASE_POLLS_WITHOUT_PROGRESS) {
            return "Chip erase timeout (nLastProgressReportTime)";
        }
        if (poll >= MAX_POLLS) {
            return "Chip erase timeout (nMaxLoopTries)";
        }
    }
}

std::string WhileChecking(unsigned int address, unsigned int byteCount) {
    return FormatText(" while checking %d bytes starting at address 0x%08X", byteCount, address);
}

}  // namespace

bool VintorDownloadSingleRecord(CSerialConnector* connector, CByteBuffer* prefix,
                                const unsigned char* data, unsigned char n, unsigned int address) {
    return !ExecuteCommand(connector, prefix, HCI_WRITE_RAM,
                           HCI_WRITE_RAM.Bytes(address, {data, n}));
}

ReplyFailure VintorReadSingleRecord(CSerialConnector* connector, CByteBuffer* prefix,
                                    unsigned char* data, unsigned char n, unsigned int address,
                                    bool* isAlone) {
    return ExecuteCommand(connector, prefix, HCI_READ_RAM, HCI_READ_RAM.Bytes(address, {&n, 1}),
                          {data, n}, isAlone);
}

bool VintorVerifySingleRecord(CSerialConnector* connector, CByteBuffer* prefix,
                              const unsigned char* data, unsigned char n, unsigned int address,
                              std::string* error) {
    std::vector<unsigned char> inChip(n);
    *error = ReadRAM(connector, prefix, address, inChip);
    if (!error->empty()) {
        return false;
    }
    const auto [expected, read] = std::mismatch(data, data + n, inChip.begin());
    if (expected == data + n) {
        return true;
    }
    *error = FormatText(
        "Data mismatch at address 0x%08X. Expected byte value 0x%02X but device contains 0x%02X",
        WrappingAdd(address, static_cast<unsigned int>(expected - data)), *expected, *read);
    return false;
}

bool VintorMinidriverLaunch(CChipDownloader* downloader, unsigned int address) {
    return Launch(downloader, HCI_LAUNCH_MINIDRIVER, address, "Launch minidriver at 0x%08X failed",
                  "Launch minidriver at 0x%08X succeeded");
}

bool VintorDownloadReset(CChipDownloader* downloader) {
    const CPhaseScope phase(*downloader, PHASE_LAUNCH);
    return Launch(downloader, HCI_LAUNCH_RAM, downloader->DownloadInfo()->GetLaunchAddress(),
                  "Chip reset to address 0x%08X failed %s",
                  "Chip reset to address 0x%08X succeeded");
}

bool VintorChipErase(CChipDownloader* downloader) {
    const bool isEEPROM = downloader->DownloadInfo()->GetVintorMemoryType() == "EEPROM";
    SendPacket(downloader->SerialConnector(),
               JoinCommand(downloader->UARTTransmitPrefix(),
                           HCI_CHIP_ERASE.Bytes(isEEPROM ? 0xFF000000U : 0xFCBEEEEFU)));
    const std::string error = WaitForErase(downloader);
    if (!error.empty()) {
        const CLockGuard access(downloader->AccessLock());
        downloader->SetError(error);
    }
    return error.empty();
}

std::optional<unsigned int> VintorRequestCRC(CChipDownloader* downloader, unsigned int address,
                                             unsigned int byteCount) {
    unsigned char count[4];
    CopyUint32ToLittleEndianBuffer(byteCount, count);
    std::vector<unsigned char> packet =
        JoinCommand(downloader->UARTTransmitPrefix(), HCI_CHECK_CRC.Bytes(address, count));
    DebugOut("VerifyCRC  sending bytes to HW: ", packet.data(),
             static_cast<unsigned int>(packet.size()));
    SendPacket(downloader->SerialConnector(), std::move(packet));

    const std::optional<unsigned int> chipCRC = ReceiveCRC(downloader->SerialConnector());
    if (!chipCRC) {
        downloader->SetError("CRC timeout" + WhileChecking(address, byteCount));
    }
    return chipCRC;
}

bool VerifyCRC(CChipDownloader* downloader, unsigned int address, unsigned int byteCount,
               unsigned int expectedCRC) {
    const CLockGuard access(downloader->AccessLock());
    const std::string start =
        FormatText("VerifyCRC  checking %0d bytes starting at 0x%08X     Expecting CRC value %08X ",
                   byteCount, address, expectedCRC);
    DebugOut(start.c_str(), nullptr, 0);
    const std::optional<unsigned int> chipCRC = VintorRequestCRC(downloader, address, byteCount);
    if (chipCRC && chipCRC != expectedCRC) {
        downloader->SetError(
            "CRC mismatch" + WhileChecking(address, byteCount) +
            FormatText("; host computed %08X, firmware computed %08X", expectedCRC, *chipCRC));
    }
    return chipCRC == expectedCRC;
}
