#include "download/VintorImages.h"

#include <algorithm>
#include <string>

#include "download/ChipDownloader.h"
#include "download/HciExchange.h"
#include "download/VintorCommands.h"
#include "download/WriteSize.h"
#include "os/OSTime.h"
#include "util/Crc32.h"
#include "util/FormatText.h"
#include "util/HexText.h"
#include "util/Wrap32.h"

namespace {

// One pass over all images of one kind.
class CImagePass {
public:
    CImagePass(CChipDownloader* downloader, const char* kind, bool isCode)
        : m_pDownloader(downloader), m_szKind(kind), m_bIsCode(isCode) {}
    CImagePass(const CImagePass&) = delete;
    CImagePass& operator=(const CImagePass&) = delete;
    virtual ~CImagePass() = default;

    bool Run(DownloadStates entryState, DownloadStates workingState) {
        CChipImageLoadingInformation& info = *m_pDownloader->DownloadInfo();
        unsigned int index = info.FindNextDataChunk(nullptr, m_szKind, 0);
        m_nWriteSize = GetMaxWriteSize(info);
        if (!Enter(entryState, workingState, index)) {
            return false;
        }
        while (index != CChipImageLoadingInformation::NO_CHUNK && m_pDownloader->IsRunning()) {
            if (!RunChunk(info.GetChunk(index))) {
                return false;
            }
            index = info.FindNextDataChunk(nullptr, m_szKind, index + 1);
        }
        return m_pDownloader->IsRunning();
    }

protected:
    struct CRecord {
        unsigned char* m_pData;
        unsigned char m_nSize;
        unsigned int m_nAddress;
    };

    CChipDownloader* Downloader() const { return m_pDownloader; }
    bool IsCode() const { return m_bIsCode; }
    const std::string& SourceText() const { return m_strSource; }

    // One exchange, under the access lock. Sets the error when it fails.
    virtual bool ExchangeRecord(const CRecord& record) = 0;
    virtual std::string SuccessText(const CRecord& record) const = 0;
    virtual void CountBytes(unsigned int n) = 0;
    virtual void RangeBegins() {}
    virtual bool IsFilledArea() const { return true; }
    virtual bool RangeEnds(const CByteBuffer& /*range*/) { return true; }

private:
    bool Enter(DownloadStates entryState, DownloadStates workingState, unsigned int index) {
        const CLockGuard access(m_pDownloader->AccessLock());
        if (m_pDownloader->GetStatus(nullptr, nullptr, nullptr, nullptr) != entryState) {
            return false;
        }
        if (index == CChipImageLoadingInformation::NO_CHUNK) {
            m_pDownloader->SetError(FormatText("%s chunk not found!", m_szKind));
            return false;
        }
        m_pDownloader->SetState(workingState);
        return true;
    }

    bool RunChunk(const CChipImageByteData& chunk) {
        m_strSource = FormatText("   (SOURCE:  %s   %s   %s)", chunk.GetSourceType(),
                                 chunk.GetName(), chunk.GetSourceId());
        {
            const CLockGuard access(m_pDownloader->AccessLock());
            m_pDownloader->AddLogText(FormatText(
                "Downloading %s ...  %s", m_bIsCode ? "firmware" : "config", m_strSource.c_str()));
        }
        for (unsigned int i = 0; i < chunk.CountContiguousRanges(); ++i) {
            if (!m_pDownloader->IsRunning() || !RunRange(chunk.GetByteBuffer(i))) {
                return false;
            }
        }
        return true;
    }

    bool RunRange(const CByteBuffer& range) {
        RangeBegins();
        const unsigned int size = range.GetDataByteSize();
        unsigned int offset = 0;
        while (offset < size) {
            if (!m_pDownloader->IsRunning()) {
                return false;
            }
            // The length is one byte on the wire and is cut to it without a check, on purpose: with
            // a write size of 256 no record ever gets ahead, until the download is canceled.
            const auto n = static_cast<unsigned char>(std::min(m_nWriteSize, size - offset));
            const CRecord record = {range.GetDataBuffer() + offset, n,
                                    WrappingAdd(range.GetBaseAddress(), offset)};
            if (!RunRecord(range, record, &offset)) {
                return false;
            }
        }
        {
            const CLockGuard access(m_pDownloader->AccessLock());
            if (IsFilledArea()) {
                m_pDownloader->RecordCompletedMemSegment(range.GetBaseAddress(), size, m_bIsCode);
            }
            m_pDownloader->ClearLoadingBlockInfo();
        }
        return !m_pDownloader->IsCanceled() && RangeEnds(range);
    }

    bool RunRecord(const CByteBuffer& range, const CRecord& record, unsigned int* offset) {
        const CLockGuard access(m_pDownloader->AccessLock());
        if (!ExchangeRecord(record)) {
            return false;
        }
        std::string text = SuccessText(record);
        ConcatHexBytesToString(text, record.m_pData, record.m_nSize, m_bIsCode ? 16 : 256);
        m_pDownloader->SetStatusDetails(text);
        *offset += record.m_nSize;
        CountBytes(record.m_nSize);
        m_pDownloader->UpdateLoadingBlockInfo(range.GetBaseAddress(),
                                              static_cast<int>(range.GetDataByteSize()),
                                              static_cast<int>(*offset), m_bIsCode);
        m_pDownloader->ReportProgress(text);
        return true;
    }

    CChipDownloader* m_pDownloader;
    const char* m_szKind;
    bool m_bIsCode;
    unsigned int m_nWriteSize = 0;
    std::string m_strSource;
};

class CWritePass final : public CImagePass {
public:
    CWritePass(CChipDownloader* downloader, const char* kind, bool isCode, bool checkCRC)
        : CImagePass(downloader, kind, isCode), m_bCheckCRC(checkCRC) {}

private:
    const char* Word() const { return IsCode() ? "firmware" : "config"; }

    bool ExchangeRecord(const CRecord& record) override {
        CChipDownloader* downloader = Downloader();
        if (!VintorDownloadSingleRecord(downloader->SerialConnector(),
                                        downloader->UARTTransmitPrefix(), record.m_pData,
                                        record.m_nSize, record.m_nAddress)) {
            downloader->SetError(
                FormatText("Download %s error trying to write %0d bytes to address 0x%08X %s",
                           Word(), record.m_nSize, record.m_nAddress, SourceText().c_str()));
            return false;
        }
        if (m_bCheckCRC) {
            m_nCRC = update_crc(m_nCRC, record.m_pData, record.m_nSize);
        }
        return true;
    }

    std::string SuccessText(const CRecord& record) const override {
        return FormatText("Download %s successfully had written %0d bytes to address 0x%08X: ",
                          Word(), record.m_nSize, record.m_nAddress);
    }

    void CountBytes(unsigned int n) override {
        Downloader()->IncrementDownloadByteCounter(IsCode(), n);
    }

    void RangeBegins() override { m_nCRC = INITIAL_CRC_VALUE; }

    bool RangeEnds(const CByteBuffer& range) override {
        return !m_bCheckCRC ||
               VerifyCRC(Downloader(), range.GetBaseAddress(), range.GetDataByteSize(),
                         final_update_crc(m_nCRC, nullptr, 0));
    }

    bool m_bCheckCRC;
    unsigned int m_nCRC = INITIAL_CRC_VALUE;
};

class CVerifyPass final : public CImagePass {
public:
    using CImagePass::CImagePass;

private:
    bool ExchangeRecord(const CRecord& record) override {
        CChipDownloader* downloader = Downloader();
        // What an earlier reply left behind would be taken for the data.
        std::string error = DrainUntilSilent(downloader);
        if (error.empty() && VintorVerifySingleRecord(
                                 downloader->SerialConnector(), downloader->UARTTransmitPrefix(),
                                 record.m_pData, record.m_nSize, record.m_nAddress, &error)) {
            return true;
        }
        downloader->SetError(FailureText(record, error));
        return false;
    }

    // The two kinds differ in their words and blanks; users' scripts know them so.
    std::string FailureText(const CRecord& record, const std::string& error) const {
        return IsCode()
                   ? FormatText(
                         "Download firmware error trying to verify %0d bytes to "
                         "address 0x%08X %s   (%s)",
                         record.m_nSize, record.m_nAddress, SourceText().c_str(), error.c_str())
                   : FormatText(
                         "Download config error trying to verify %0d bytes at address "
                         "0x%08X %s (%s)",
                         record.m_nSize, record.m_nAddress, SourceText().c_str(), error.c_str());
    }

    std::string SuccessText(const CRecord& record) const override {
        return FormatText("Download %s verified %0d bytes at address 0x%08X: ",
                          IsCode() ? "firmware successfully" : "config successfully had",
                          record.m_nSize, record.m_nAddress);
    }

    void CountBytes(unsigned int n) override {
        Downloader()->IncrementVerifyByteCounter(IsCode(), n);
    }

    // Verified configuration data make no entry in the list of filled areas; verified code does.
    bool IsFilledArea() const override { return IsCode(); }
};

}  // namespace

bool VintorDownloadFirmware(CChipDownloader* downloader, bool checkCRC) {
    return CWritePass(downloader, "FIRMWARE", true, checkCRC)
        .Run(DOWNLOAD_READY_TO_DOWNLOAD, DOWNLOAD_LOADING_CODE);
}

bool VintorDownloadConfigData(CChipDownloader* downloader, bool checkCRC) {
    return CWritePass(downloader, "CONFIG", false, checkCRC)
        .Run(DOWNLOAD_READY_TO_DOWNLOAD, DOWNLOAD_LOADING_DATA);
}

// Bytes that follow the last reply of a write may still be on the line: the first drain would miss
// them if it came at once.
bool VintorVerifyFirmware(CChipDownloader* downloader) {
    PutThreadToSleep(SILENCE_MS);
    return CVerifyPass(downloader, "FIRMWARE", true)
        .Run(DOWNLOAD_READY_TO_VERIFY, DOWNLOAD_VERIFYING_CODE);
}

bool VintorVerifyConfigData(CChipDownloader* downloader) {
    PutThreadToSleep(SILENCE_MS);
    return CVerifyPass(downloader, "CONFIG", false)
        .Run(DOWNLOAD_READY_TO_VERIFY, DOWNLOAD_VERIFYING_DATA);
}
