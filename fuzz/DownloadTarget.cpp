#include "PieceConnector.h"
#include "download/ChipDownloader.h"
#include "download/HciExchange.h"
#include "download/VintorCommands.h"
#include "download/VintorDownload.h"
#include "support/HexRecord.h"

// Runs each exchange with the chip, and the whole download, on a port where anything may arrive.
// What is reported as done must have been answered. An input is the number of the exchange, the
// flags of a download, the parameters of a command and the script of the port.

namespace {

// The Command Complete event of a vendor command.
Bytes Completion(unsigned char opcodeLow, unsigned char opcodeHigh = 0xFC) {
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

// Whether an operation was done, with the downloader's error to match.
bool Outcome(const CChipDownloader& downloader, bool isDone) {
    FUZZ_CHECK(isDone == (*downloader.GetErrorDescription() == '\0'));
    return isDone;
}

void WriteAndVerify(CChipDownloader& downloader, CPieceConnector& port, std::uint32_t address,
                    Bytes record) {
    const auto size = static_cast<unsigned char>(record.size());
    record.resize(256);
    CByteBuffer* const prefix = downloader.UARTTransmitPrefix();
    FUZZ_CHECK(!VintorDownloadSingleRecord(&port, prefix, record.data(), size, address) ||
               port.HasDelivered(Completion(0x4C)));
    std::string error;
    const bool isSame =
        VintorVerifySingleRecord(&port, prefix, record.data(), size, address, &error);
    record.resize(size);
    FUZZ_CHECK(isSame == error.empty() && (!isSame || port.HasDelivered(record)));
}

void CheckCRC(CChipDownloader& downloader, const CPieceConnector& port, std::uint32_t address,
              std::size_t size, std::uint32_t crc) {
    Bytes reply = {0x0E, 0x08, 0x01, 0xCC, 0xFC, 0x00, 0, 0, 0, 0};
    CopyUint32ToLittleEndianBuffer(crc, &reply[6]);
    FUZZ_CHECK(!Outcome(downloader,
                        VerifyCRC(&downloader, address, static_cast<unsigned int>(size), crc)) ||
               port.HasDelivered(reply));
}

void Launch(CChipDownloader& downloader, CPieceConnector& port) {
    if (VintorMinidriverLaunch(&downloader, 0xFFFFFFFF)) {
        FUZZ_CHECK(port.HasDelivered(Completion(0x4E)));
        Outcome(downloader, VintorDownloadReset(&downloader));
    }
    PerformHCIReset(&downloader);
    // A port that fails goes on failing.
    const std::string error = ClearRxFIFO(&downloader);
    unsigned char byte = 0;
    unsigned int count = 0;
    FUZZ_CHECK(error.empty() || port.ReadReceivedBytes(&byte, 1, &count) == error);
}

void DownloadAll(CChipDownloader& downloader, const CPieceConnector& port) {
    if (!downloader.PrepareForDownload().empty()) {
        return;
    }
    VintorDownloadingFunction(&downloader);
    const DownloadStates state = downloader.GetStatus(nullptr, nullptr, nullptr, nullptr);
    if (Outcome(downloader, state == DOWNLOAD_COMPLETED)) {
        FUZZ_CHECK(port.HasDelivered(Completion(0x4C)) && port.HasDelivered(Completion(0x4E)));
        const CLockGuard access(downloader.AccessLock());
        FUZZ_CHECK(downloader.GetCompletedMemSegmentList()->size() >= 2);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CFuzzInput input(data, size);
    const unsigned int kind = input.TakeBelow(5);
    const CChipImageLoadingInformation info = MakeInformation(input.TakeByte());
    const std::uint32_t address = input.TakeWord();
    const std::uint32_t crc = input.TakeWord();
    const Bytes record = input.TakeBytes(input.TakeByte());
    CPieceConnector port(input);
    CChipDownloader downloader(info, &port);
    switch (kind) {
        case 0:
            WriteAndVerify(downloader, port, address, record);
            break;
        case 1:
            CheckCRC(downloader, port, address, record.size(), crc);
            break;
        case 2:
            FUZZ_CHECK(!Outcome(downloader, VintorChipErase(&downloader)) ||
                       port.HasDelivered(Completion(0xCE, 0xFF)));
            FUZZ_CHECK(port.m_nReads <= 10000);
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
