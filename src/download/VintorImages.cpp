#include "download/VintorImages.h"

#include <algorithm>
#include <optional>
#include <string>

#include "download/ChipDownloader.h"
#include "download/HciExchange.h"
#include "download/ReceiveBuffer.h"
#include "download/VintorCommands.h"
#include "download/VintorPhases.h"
#include "image/MemoryReadout.h"
#include "os/OSTime.h"
#include "util/Crc32.h"
#include "util/FormatText.h"
#include "util/HexText.h"
#include "util/Wrap32.h"

namespace {

constexpr unsigned int MAX_READ_SIZE = 251;    // what fits the reply to Read RAM
constexpr unsigned int LONGEST_REPLY_MS = 60;  // at 115200 baud, with an adapter's delay
constexpr char MORE_THAN_REPLIES[] = "other bytes came with the reply";
constexpr unsigned int NO_CHUNK = CChipImageLoadingInformation::NO_CHUNK;

// A pass over all images of a kind, and its texts: formats for a record's size and address, its
// source and what went wrong. Scripts match them, so words and blanks stay as different as they
// are.
struct CPass {
    const char* m_szKind;
    DownloadStates m_EntryState;
    DownloadStates m_State;
    const char* m_szFailed;
    const char* m_szDone;
    bool m_bFillsAreas = false;  // with what is read

    bool IsMinidriver() const { return m_State == DOWNLOAD_LOADING_MINIDRIVER; }
    bool IsCode() const {
        return m_State == DOWNLOAD_LOADING_CODE || m_State == DOWNLOAD_VERIFYING_CODE;
    }
    bool Verifies() const { return m_EntryState == DOWNLOAD_READY_TO_VERIFY; }
};

constexpr CPass WRITE_MINIDRIVER = {
    "MINIDRIVER", DOWNLOAD_INITIALIZED, DOWNLOAD_LOADING_MINIDRIVER,
    "Download minidriver error trying to write %0d bytes to address 0x%08X",
    "Download minidriver successfully had written %0d bytes to address 0x%08X"};
constexpr CPass WRITE_FIRMWARE = {
    "FIRMWARE", DOWNLOAD_READY_TO_DOWNLOAD, DOWNLOAD_LOADING_CODE,
    "Download firmware error trying to write %0d bytes to address 0x%08X %s",
    "Download firmware successfully had written %0d bytes to address 0x%08X: "};
constexpr CPass WRITE_CONFIG = {
    "CONFIG", DOWNLOAD_READY_TO_DOWNLOAD, DOWNLOAD_LOADING_DATA,
    "Download config error trying to write %0d bytes to address 0x%08X %s",
    "Download config successfully had written %0d bytes to address 0x%08X: "};
constexpr CPass VERIFY_FIRMWARE = {
    "FIRMWARE", DOWNLOAD_READY_TO_VERIFY, DOWNLOAD_VERIFYING_CODE,
    "Download firmware error trying to verify %0d bytes to address 0x%08X %s   (%s)",
    "Download firmware successfully verified %0d bytes at address 0x%08X: "};
constexpr CPass VERIFY_CONFIG = {
    "CONFIG", DOWNLOAD_READY_TO_VERIFY, DOWNLOAD_VERIFYING_DATA,
    "Download config error trying to verify %0d bytes at address 0x%08X %s (%s)",
    "Download config successfully had verified %0d bytes at address 0x%08X: "};

constexpr CPass READ_MEMORY = {"MEMORY",
                               DOWNLOAD_READY_TO_VERIFY,
                               DOWNLOAD_VERIFYING_CODE,
                               "Error trying to read %0d bytes at address 0x%08X%s (%s)",
                               "Read %0d bytes at address 0x%08X: ",
                               true};

// Takes images of one kind to the chip, reads them back, or fills a readout: range by range, record
// by record.
class CImagePass {
public:
    CImagePass(CChipDownloader* downloader, const CPass& pass, bool checkCRC)
        : m_pDownloader(downloader), m_Pass(pass), m_bCheckCRC(checkCRC) {}

    bool Run() {
        unsigned int index = FindImage(0);
        if (!Enter(index != NO_CHUNK)) {
            return false;
        }
        while (index != NO_CHUNK && m_pDownloader->IsRunning()) {
            if (!RunImage(m_pDownloader->DownloadInfo()->GetChunk(index))) {
                return false;
            }
            // Of minidrivers only the first counts.
            index = m_Pass.IsMinidriver() ? NO_CHUNK : FindImage(index + 1);
        }
        return m_pDownloader->IsRunning();
    }

    bool Fill(CMemoryReadout& readout) {
        if (!Enter(true)) {
            return false;
        }
        for (unsigned int i = 0; i < readout.m_Memory.CountContiguousRanges(); ++i) {
            const CByteBuffer& area = readout.m_Memory.GetByteBuffer(i);
            if (!RunRange(area) || !EndsInSilence(area)) {
                return false;
            }
            readout.m_CRCs.push_back(crc(area.GetDataBuffer(), area.GetDataByteSize()));
        }
        return true;
    }

    // The first image at or after the index, or NO_CHUNK.
    unsigned int FindImage(unsigned int index) const {
        return m_pDownloader->DownloadInfo()->FindNextDataChunk(nullptr, m_Pass.m_szKind, index);
    }

private:
    bool Enter(bool hasImages) {
        if (!EnterState(hasImages)) {
            return false;
        }
        if (m_Pass.Verifies()) {
            // Bytes that follow the last reply of a write may still be on the line.
            PutThreadToSleep(SILENCE_MS);
        }
        return true;
    }

    bool EnterState(bool hasImages) {
        const CLockGuard access(m_pDownloader->AccessLock());
        const DownloadStates state = m_pDownloader->GetStatus(nullptr, nullptr, nullptr, nullptr);
        if (state != m_Pass.m_EntryState) {
            if (m_Pass.IsMinidriver()) {
                m_pDownloader->SetError("VintorDownloadMinidriver: unexpected state " +
                                        CChipDownloader::GetStateName(state));
            }
            return false;
        }
        if (!hasImages) {
            m_pDownloader->SetError(FormatText("%s chunk not found!", m_Pass.m_szKind));
            return false;
        }
        m_nMaxSize = MaxVintorRecordSize(*m_pDownloader->DownloadInfo(), m_Pass.IsMinidriver());
        if (m_Pass.m_bFillsAreas) {
            m_nMaxSize = std::clamp(m_nMaxSize, 1U, MAX_READ_SIZE);
        }
        m_pDownloader->SetState(m_Pass.m_State);
        if (m_Pass.IsMinidriver()) {
            m_pDownloader->ReportProgress(nullptr);
        }
        return true;
    }

    bool RunImage(const CChipImageByteData& image) {
        m_strSource = FormatText("   (SOURCE:  %s   %s   %s)", image.GetSourceType(),
                                 image.GetName(), image.GetSourceId());
        if (!m_Pass.IsMinidriver()) {
            const CLockGuard access(m_pDownloader->AccessLock());
            m_pDownloader->AddLogText(std::string("Downloading ") +
                                      (m_Pass.IsCode() ? "firmware" : "config") + " ...  " +
                                      m_strSource);
        }
        for (unsigned int i = 0; i < image.CountContiguousRanges(); ++i) {
            if (!RunRange(image.GetByteBuffer(i))) {
                return false;
            }
        }
        return true;
    }

    bool RunRange(const CByteBuffer& range) {
        const unsigned int size = range.GetDataByteSize();
        for (unsigned int offset = 0; offset < size;) {
            if (!m_pDownloader->IsRunning()) {
                return false;
            }
            const unsigned char n = NextVintorRecordSize(m_nMaxSize, size - offset);
            const CLockGuard access(m_pDownloader->AccessLock());
            if (!RunRecord(range, offset, n)) {
                return false;
            }
            offset += n;
        }
        if (!m_Pass.IsMinidriver()) {
            const CLockGuard access(m_pDownloader->AccessLock());
            // Code is listed again when it is verified, configuration data are not.
            if (m_Pass.IsCode() || !m_Pass.Verifies()) {
                m_pDownloader->RecordCompletedMemSegment(range.GetBaseAddress(), size,
                                                         m_Pass.IsCode());
            }
            m_pDownloader->ClearLoadingBlockInfo();
        }
        m_pDownloader->RunObserver().AreaDone(range);
        return m_pDownloader->IsRunning() && (!m_bCheckCRC || CheckRange(range));
    }

    bool CheckRange(const CByteBuffer& range) {
        const CPhaseScope phase(*m_pDownloader, PHASE_CHECK);
        const unsigned int size = range.GetDataByteSize();
        if (!VerifyCRC(m_pDownloader, range.GetBaseAddress(), size,
                       crc(range.GetDataBuffer(), size))) {
            return false;
        }
        m_pDownloader->RunObserver().AreaDone(range);
        return true;
    }

    bool RunRecord(const CByteBuffer& range, unsigned int offset, unsigned char n) {
        unsigned char* const data = range.GetDataBuffer() + offset;
        const unsigned int address = WrappingAdd(range.GetBaseAddress(), offset);
        if (!Exchange(data, n, address)) {
            return false;
        }
        std::string text = FormatText(m_Pass.m_szDone, n, address);
        if (!m_Pass.IsMinidriver()) {
            ConcatHexBytesToString(text, data, n, m_Pass.IsCode() ? 16 : 256);
        }
        m_pDownloader->SetStatusDetails(text);
        m_pDownloader->RunObserver().RecordDone(n);
        if (!m_Pass.IsMinidriver()) {
            Count(n);
            m_pDownloader->UpdateLoadingBlockInfo(range.GetBaseAddress(),
                                                  static_cast<int>(range.GetDataByteSize()),
                                                  static_cast<int>(offset + n), m_Pass.IsCode());
        }
        m_pDownloader->ReportProgress(text);
        return true;
    }

    void Count(unsigned char n) {
        if (m_Pass.Verifies()) {
            m_pDownloader->IncrementVerifyByteCounter(m_Pass.IsCode(), n);
        } else {
            m_pDownloader->IncrementDownloadByteCounter(m_Pass.IsCode(), n);
        }
    }

    // Whether bytes have come that nobody waits for.
    bool IsMoreReceived() {
        CReceiveBuffer more(1);
        return more.Fetch(m_pDownloader->SerialConnector()).empty() && !more.Bytes().empty();
    }

    std::string Read(unsigned char* data, unsigned char n, unsigned int address) {
        bool isAlone = false;
        const ReplyFailure failure =
            VintorReadSingleRecord(m_pDownloader->SerialConnector(),
                                   m_pDownloader->UARTTransmitPrefix(), data, n, address, &isAlone);
        if (failure) {
            return failure->empty() ? "no complete reply" : *failure;
        }
        return isAlone && !IsMoreReceived() ? "" : MORE_THAN_REPLIES;
    }

    // A reply that nobody waited for shows that those before it may belong to earlier commands.
    bool EndsInSilence(const CByteBuffer& area) {
        PutThreadToSleep(LONGEST_REPLY_MS);
        if (!IsMoreReceived()) {
            return true;
        }
        const CLockGuard access(m_pDownloader->AccessLock());
        m_pDownloader->SetError(FormatText(m_Pass.m_szFailed, area.GetDataByteSize(),
                                           area.GetBaseAddress(), "", MORE_THAN_REPLIES));
        return false;
    }

    // Writes the record, reads it back and compares, or fills it. A failure is set as the error.
    bool Exchange(unsigned char* data, unsigned char n, unsigned int address) {
        CSerialConnector* const connector = m_pDownloader->SerialConnector();
        CByteBuffer* const prefix = m_pDownloader->UARTTransmitPrefix();
        // What an earlier reply left behind would be taken for the data.
        std::string error = m_Pass.Verifies() ? DrainUntilSilent(m_pDownloader) : "";
        bool isDone = error.empty();
        if (isDone && m_Pass.m_bFillsAreas) {
            error = Read(data, n, address);
            isDone = error.empty();
        } else if (isDone && m_Pass.Verifies()) {
            isDone = VintorVerifySingleRecord(connector, prefix, data, n, address, &error);
        } else if (isDone) {
            isDone = VintorDownloadSingleRecord(connector, prefix, data, n, address);
        }
        if (!isDone) {
            m_pDownloader->SetError(
                FormatText(m_Pass.m_szFailed, n, address, m_strSource.c_str(), error.c_str()));
        }
        return isDone;
    }

    CChipDownloader* m_pDownloader;
    const CPass& m_Pass;
    bool m_bCheckCRC;
    unsigned int m_nMaxSize = 0;
    std::string m_strSource;
};

bool RequestCRCs(CChipDownloader* downloader, CMemoryReadout& readout) {
    for (unsigned int i = 0; i < readout.m_Memory.CountContiguousRanges(); ++i) {
        const CLockGuard access(downloader->AccessLock());
        const CByteBuffer& area = readout.m_Memory.GetByteBuffer(i);
        const unsigned int address = area.GetBaseAddress();
        const unsigned int size = area.GetDataByteSize();
        // A second reply to the request before would be taken for the answer.
        PutThreadToSleep(SILENCE_MS);
        if (const std::string error = DrainUntilSilent(downloader); !error.empty()) {
            downloader->SetError(error);
            return false;
        }
        const std::optional<unsigned int> value = VintorRequestCRC(downloader, address, size);
        if (!value) {
            return false;
        }
        downloader->SetStatusDetails(
            FormatText("CRC of %u bytes at address 0x%08X: %08X", size, address, *value));
        readout.m_CRCs.push_back(*value);
    }
    return downloader->IsRunning();
}

}  // namespace

bool VintorDownloadMinidriver(CChipDownloader* downloader) {
    const CPhaseScope phase(*downloader, PHASE_MINIDRIVER);
    CImagePass pass(downloader, WRITE_MINIDRIVER, false);
    if (!pass.Run()) {
        return false;
    }
    const CChipImageByteData& image = downloader->DownloadInfo()->GetChunk(pass.FindImage(0));
    return VintorMinidriverLaunch(downloader, image.IsLaunchAddressKnown()
                                                  ? image.GetLaunchAddress()
                                                  : image.GetFirstAddressLoaded());
}

bool VintorDownloadFirmware(CChipDownloader* downloader, bool checkCRC) {
    return CImagePass(downloader, WRITE_FIRMWARE, checkCRC).Run();
}

bool VintorDownloadConfigData(CChipDownloader* downloader, bool checkCRC) {
    return CImagePass(downloader, WRITE_CONFIG, checkCRC).Run();
}

bool VintorVerifyFirmware(CChipDownloader* downloader) {
    return CImagePass(downloader, VERIFY_FIRMWARE, false).Run();
}

bool VintorVerifyConfigData(CChipDownloader* downloader) {
    return CImagePass(downloader, VERIFY_CONFIG, false).Run();
}

bool VintorReadMemory(CChipDownloader* downloader, CMemoryReadout& readout) {
    return readout.m_bOnlyCRC ? RequestCRCs(downloader, readout)
                              : CImagePass(downloader, READ_MEMORY, false).Fill(readout);
}
