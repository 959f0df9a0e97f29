#include "PieceConnector.h"
#include "download/ChipDownloader.h"
#include "download/HciExchange.h"
#include "download/VintorCommands.h"
#include "download/VintorDownload.h"
#include "support/HexRecord.h"
#include "util/ByteOrder.h"

// Runs each exchange with the chip, and the whole download, on a port where anything may arrive.
// What is reported as done must have been answered. An input is the number of the exchange, the
// flags of a download, the parameters of a command and the script of the port.

namespace {

// The Command Complete event of a vendor command.
Bytes Completion(unsigned char opcodeLow, unsigned char opcodeHigh) {
    return {0x0E, 0x04, 0x01, opcodeLow, opcodeHigh, 0x00};
}

CChipImageLoadingInformation MakeInformation(unsigned int flags) {
    static CMemoryFile file;
    static const char* const path = file.Fill(HexRecord(0, 0x1000, {1, 2, 3, 4, 5}) +
                                              HexRecord(0, 0x2000, {6, 7}) + HEX_END_RECORD);
    CChipDownloadDescriptor descriptor;
    descriptor.AddFirmwareFileName(path);
    CDownloadRulesSet rules("");
    rules.SetDownloadParameter("DLConfigTargeting", (flags & 1U) != 0 ? "EEPROM" : "FLASH", false);
    rules.SetDownloadParameter("DLSectorEraseMode", (flags & 2U) != 0 ? "Chip erase" : "none",
                               false);
    rules.SetDownloadParameter("DLMaxWriteSize", "3", false);
    descriptor.AddRuleSet(rules);
    CChipImageLoadingInformation info(descriptor, false, nullptr);
    info.MarkVintorMode();
    info.SetFlagIssueDownloadMinidriverCommand((flags & 4U) != 0);
    info.SetNeedToVerify((flags & 8U) != 0);
    info.SetNeedToCheckCRC((flags & 16U) != 0);
    return info;
}

void CheckOutcome(const CChipDownloader& downloader, bool isDone) {
    FUZZ_CHECK(isDone == (*downloader.GetErrorDescription() == '\0'));
}

struct PARAMETERS {
    explicit PARAMETERS(CFuzzInput& input)
        : address(input.TakeWord()),
          crc(input.TakeWord()),
          record(input.TakeBytes(input.TakeByte())) {}

    unsigned int address;
    unsigned int crc;
    Bytes record;
};

void WriteAndVerify(const PARAMETERS& parameters, CChipDownloader& downloader,
                    CPieceConnector& port) {
    const unsigned int address = parameters.address;
    Bytes record = parameters.record;
    const auto size = static_cast<unsigned char>(record.size());
    record.resize(256);
    CByteBuffer* const prefix = downloader.UARTTransmitPrefix();
    if (VintorDownloadSingleRecord(&port, prefix, record.data(), size, address)) {
        FUZZ_CHECK(port.HasDelivered(Completion(0x4C, 0xFC)));
    }
    FUZZ_CHECK(port.m_Transmitted.size() == 1 && port.m_Transmitted[0].size() == 8U + size);
    std::string error;
    if (VintorVerifySingleRecord(&port, prefix, record.data(), size, address, &error)) {
        record.resize(size);
        FUZZ_CHECK(error.empty() && port.HasDelivered(record));
    } else {
        FUZZ_CHECK(!error.empty());
    }
}

void CheckCRC(const PARAMETERS& parameters, CChipDownloader& downloader, CPieceConnector& port) {
    const bool isEqual =
        VerifyCRC(&downloader, parameters.address,
                  static_cast<unsigned int>(parameters.record.size()), parameters.crc);
    CheckOutcome(downloader, isEqual);
    if (isEqual) {
        Bytes reply = {0x0E, 0x08, 0x01, 0xCC, 0xFC, 0x00, 0, 0, 0, 0};
        CopyUint32ToLittleEndianBuffer(parameters.crc, &reply[6]);
        FUZZ_CHECK(port.HasDelivered(reply));
    }
}

void Erase(CChipDownloader& downloader, CPieceConnector& port) {
    const bool isErased = VintorChipErase(&downloader);
    CheckOutcome(downloader, isErased);
    FUZZ_CHECK(!isErased || port.HasDelivered(Completion(0xCE, 0xFF)));
    FUZZ_CHECK(port.m_nReads <= 10000);
}

void Launch(CChipDownloader& downloader, CPieceConnector& port) {
    if (VintorMinidriverLaunch(&downloader, 0xFFFFFFFF)) {
        FUZZ_CHECK(port.HasDelivered(Completion(0x4E, 0xFC)));
        CheckOutcome(downloader, VintorDownloadReset(&downloader));
    }
    PerformHCIReset(&downloader);
    // A port that fails goes on failing.
    const std::string error = ClearRxFIFO(&downloader);
    unsigned char byte = 0;
    unsigned int count = 0;
    FUZZ_CHECK(error.empty() || port.ReadReceivedBytes(&byte, 1, &count) == error);
}

void DownloadAll(CChipDownloader& downloader, CPieceConnector& port) {
    const std::string error = downloader.PrepareForDownload();
    if (!error.empty()) {
        return;
    }
    VintorDownloadingFunction(&downloader);
    const DownloadStates state = downloader.GetStatus(nullptr, nullptr, nullptr, nullptr);
    if (state == DOWNLOAD_COMPLETED) {
        FUZZ_CHECK(port.HasDelivered(Completion(0x4C, 0xFC)));
        FUZZ_CHECK(port.HasDelivered(Completion(0x4E, 0xFC)));
        const CLockGuard access(downloader.AccessLock());
        FUZZ_CHECK(downloader.GetCompletedMemSegmentList()->size() >= 2);
    }
    CheckOutcome(downloader, state == DOWNLOAD_COMPLETED);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CFuzzInput input(data, size);
    const unsigned int kind = input.TakeBelow(5);
    const CChipImageLoadingInformation info = MakeInformation(input.TakeByte());
    const PARAMETERS parameters(input);
    CPieceConnector port(input);
    CChipDownloader downloader(info, &port);
    switch (kind) {
        case 0:
            WriteAndVerify(parameters, downloader, port);
            break;
        case 1:
            CheckCRC(parameters, downloader, port);
            break;
        case 2:
            Erase(downloader, port);
            break;
        case 3:
            Launch(downloader, port);
            break;
        default:
            DownloadAll(downloader, port);
            break;
    }
    return 0;
}
