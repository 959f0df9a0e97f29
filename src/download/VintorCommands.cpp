#include "download/VintorCommands.h"

#include <algorithm>
#include <array>
#include <vector>

#include "download/ChipDownloader.h"
#include "download/EraseWait.h"
#include "download/HciExchange.h"
#include "download/HciTrace.h"
#include "os/OSTime.h"
#include "transport/SerialConnector.h"
#include "util/ByteOrder.h"
#include "util/FormatText.h"
#include "util/Wrap32.h"

namespace {

constexpr unsigned int RECORD_TIMEOUT_MS = 500;
constexpr unsigned int RESET_TIMEOUT_MS = 500;
constexpr unsigned int MINIDRIVER_LAUNCH_TIMEOUT_MS = 100;
constexpr unsigned int MAX_RECORD_SIZE = 255;

// Sends Launch RAM and waits for its Command Complete.
bool LaunchRAM(CChipDownloader* downloader, unsigned int address, unsigned int timeoutMS,
               std::string* error) {
    unsigned char command[7] = {0x4E, 0xFC, 0x04};
    CopyUint32ToLittleEndianBuffer(address, command + 3);
    unsigned char expected[] = {0x0E, 0x04, 0x01, 0x4E, 0xFC, 0x00};
    return SendCommandAndWaitForCompletion(
        downloader->SerialConnector(), downloader->UARTTransmitPrefix(), command, sizeof command,
        expected, sizeof expected, timeoutMS, error, nullptr);
}

// Polls for the CRC event and the four bytes behind its pattern.
bool ReceiveCRC(CSerialConnector* connector, unsigned int* chipCRC) {
    constexpr unsigned char PATTERN[] = {0x0E, 0x08, 0x01, 0xCC, 0xFC, 0x00};
    constexpr unsigned int REPLY_LENGTH = 10;
    constexpr int POLLS = 1000;
    std::array<unsigned char, 128> received;
    unsigned int count = 0;
    for (int poll = 0; poll < POLLS; ++poll) {
        PutThreadToSleep(4);
        const unsigned int before = count;
        if (!FetchMoreReceivedBytes(connector, received.data(),
                                    static_cast<unsigned int>(received.size()), &count)
                 .empty()) {
            return false;
        }
        if (count > before) {
            DebugOut("VerifyCRC  received bytes from HW: ", received.data(), count);
        }
        if (count < REPLY_LENGTH) {
            continue;
        }
        const unsigned char* found =
            FindBytesInBuffer(received.data(), count, PATTERN, sizeof PATTERN);
        if (found != nullptr && received.data() + count - found >= REPLY_LENGTH) {
            *chipCRC = CopyLittleEndianBufferToUint32(found + sizeof PATTERN);
            return true;
        }
    }
    return false;
}

}  // namespace

bool VintorDownloadSingleRecord(CSerialConnector* connector, CByteBuffer* prefix,
                                const unsigned char* data, unsigned char n, unsigned int address) {
    std::array<unsigned char, 7 + MAX_RECORD_SIZE> command;
    command[0] = 0x4C;
    command[1] = 0xFC;
    command[2] = static_cast<unsigned char>(n + 4);
    CopyUint32ToLittleEndianBuffer(address, &command[3]);
    std::copy(data, data + n, &command[7]);
    unsigned char expected[] = {0x0E, 0x04, 0x01, 0x4C, 0xFC, 0x00};
    std::string error;
    return SendCommandAndWaitForCompletion(connector, prefix, command.data(), n + 7U, expected,
                                           sizeof expected, RECORD_TIMEOUT_MS, &error, nullptr);
}

bool VintorVerifySingleRecord(CSerialConnector* connector, CByteBuffer* prefix,
                              const unsigned char* data, unsigned char n, unsigned int address,
                              std::string* error) {
    constexpr unsigned int PATTERN_LENGTH = 7;
    unsigned char command[8] = {0x4D, 0xFC, 0x05};
    CopyUint32ToLittleEndianBuffer(address, command + 3);
    command[7] = n;
    // With the packet indicator: the reply has to stand at the very start of what comes.
    std::array<unsigned char, PATTERN_LENGTH + MAX_RECORD_SIZE> reply = {
        0x04, 0x0E, static_cast<unsigned char>(n + 4), 0x01, 0x4D, 0xFC, 0x00};
    const bool found = SendCommandAndWaitForCompletionMatchRxStart(
        connector, prefix, command, sizeof command, reply.data(), PATTERN_LENGTH,
        n + PATTERN_LENGTH, RECORD_TIMEOUT_MS, error, nullptr);
    if (!error->empty()) {
        return false;
    }
    if (!found) {
        *error = "Verify record request did not get completed by the firmware";
        return false;
    }
    const auto [expectedByte, readByte] =
        std::mismatch(data, data + n, reply.begin() + PATTERN_LENGTH);
    if (expectedByte == data + n) {
        return true;
    }
    *error = FormatText(
        "Data mismatch at address 0x%08X. Expected byte value 0x%02X but device contains 0x%02X",
        WrappingAdd(address, static_cast<unsigned int>(expectedByte - data)), *expectedByte,
        *readByte);
    return false;
}

bool VintorMinidriverLaunch(CChipDownloader* downloader, unsigned int address) {
    const CLockGuard access(downloader->AccessLock());
    std::string error;
    if (!LaunchRAM(downloader, address, MINIDRIVER_LAUNCH_TIMEOUT_MS, &error)) {
        downloader->SetError(FormatText("Launch minidriver at 0x%08X failed", address));
        return false;
    }
    downloader->SetStatusDetails(FormatText("Launch minidriver at 0x%08X succeeded", address));
    return true;
}

bool VintorDownloadReset(CChipDownloader* downloader) {
    const CLockGuard access(downloader->AccessLock());
    const unsigned int address = downloader->DownloadInfo()->GetLaunchAddress();
    std::string error;
    const bool found = LaunchRAM(downloader, address, RESET_TIMEOUT_MS, &error);
    if (!found || !error.empty()) {
        downloader->SetError(
            FormatText("Chip reset to address 0x%08X failed %s", address, error.c_str()));
        return false;
    }
    downloader->SetStatusDetails(FormatText("Chip reset to address 0x%08X succeeded", address));
    return true;
}

bool VintorChipErase(CChipDownloader* downloader) {
    unsigned char command[] = {0xCE, 0xFF, 0x04, 0xEF, 0xEE, 0xBE, 0xFC};
    if (downloader->DownloadInfo()->GetVintorMemoryType() == "EEPROM") {
        CopyUint32ToLittleEndianBuffer(0xFF000000U, command + 3);
    }
    std::vector<unsigned char> frame =
        JoinCommand(downloader->UARTTransmitPrefix(), command, sizeof command);
    downloader->SerialConnector()->TransmitBytes(frame.data(),
                                                 static_cast<unsigned int>(frame.size()));

    // The access lock is free meanwhile: an erase takes many seconds, the progress lines go on.
    std::string error;
    const bool done = CEraseWait(downloader).Wait(&error);
    if (!done) {
        const CLockGuard access(downloader->AccessLock());
        downloader->SetError(error);
    }
    return done;
}

bool VerifyCRC(CChipDownloader* downloader, unsigned int address, unsigned int byteCount,
               unsigned int expectedCRC) {
    const CLockGuard access(downloader->AccessLock());
    DebugOut(FormatText("VerifyCRC  checking %0d bytes starting at 0x%08X     Expecting CRC value "
                        "%08X ",
                        static_cast<int>(byteCount), address, expectedCRC)
                 .c_str(),
             nullptr, 0);
    unsigned char command[11] = {0xCC, 0xFC, 0x08};
    CopyUint32ToLittleEndianBuffer(address, command + 3);
    CopyUint32ToLittleEndianBuffer(byteCount, command + 7);
    std::vector<unsigned char> frame =
        JoinCommand(downloader->UARTTransmitPrefix(), command, sizeof command);
    const auto frameLength = static_cast<unsigned int>(frame.size());
    DebugOut("VerifyCRC  sending bytes to HW: ", frame.data(), frameLength);
    downloader->SerialConnector()->TransmitBytes(frame.data(), frameLength);

    unsigned int chipCRC = 0;
    if (!ReceiveCRC(downloader->SerialConnector(), &chipCRC)) {
        downloader->SetError(
            FormatText("CRC timeout while checking %d bytes starting at address 0x%08X",
                       static_cast<int>(byteCount), address));
        return false;
    }
    if (chipCRC != expectedCRC) {
        downloader->SetError(
            FormatText("CRC mismatch while checking %d bytes starting at address 0x%08X; host "
                       "computed %08X, firmware computed %08X",
                       static_cast<int>(byteCount), address, expectedCRC, chipCRC));
        return false;
    }
    return true;
}
