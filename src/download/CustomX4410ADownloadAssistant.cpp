#include "download/CustomX4410ADownloadAssistant.h"

#include <vector>

#include "download/ChipDownloader.h"
#include "download/HciExchange.h"
#include "download/NciSegments.h"
#include "os/OSTime.h"
#include "util/FormatText.h"
#include "util/NumberText.h"

namespace {

// The response to a record, status 00; a signature is confirmed by a notification as well.
constexpr unsigned char PATCH_RESPONSE[] = {0x10, 0x4F, 0x2E, 0x01, 0x00};
constexpr unsigned char SIGNATURE_RESPONSE[] = {0x10, 0x4F, 0x2E, 0x01, 0x00,
                                                0x10, 0x6F, 0x2E, 0x01, 0x00};

const CDownloadRulesSet* RulesOf(CChipDownloader* downloader) {
    return downloader->DownloadInfo()->GetRules();
}

// A parameter that is no number above zero leaves the default.
void ReadPositive(const CDownloadRulesSet& rules, const char* name, unsigned int* field) {
    int value = 0;
    if (TryToGetIntValue(rules.GetDownloadParameter(name), &value) && value > 0) {
        *field = static_cast<unsigned int>(value);
    }
}

}  // namespace

std::string CCustomX4410ADownloadAssistant::DownloadPrepare(CChipDownloader* downloader) {
    m_bSecureMode = true;
    std::string error = CheckFileCounts();
    if (!error.empty()) {
        return error;
    }
    if (const CDownloadRulesSet* rules = RulesOf(downloader)) {
        ReadParameters(*rules);
    }
    error = LoadPatchFiles(downloader);
    // The chip's own default is secure: only leaving it takes a command.
    return error.empty() && !m_bSecureMode ? DisableSecureMode(downloader) : error;
}

std::string CCustomX4410ADownloadAssistant::CheckFileCounts() const {
    const CChipDownloadDescriptor& files = Owner()->GetDescriptor();
    if (files.CountConfigDataFiles() != 1) {
        return "Must load exactly one config file.";
    }
    if (files.CountMinidriverFiles() != 0) {
        return FormatText("Cannot load minidrivers in %s mode.", SPECIAL_X4410A_DL_NAME);
    }
    if (files.CountFirmwareFiles() != 0) {
        return FormatText("Cannot load firmware in %s mode.", SPECIAL_X4410A_DL_NAME);
    }
    return {};
}

void CCustomX4410ADownloadAssistant::ReadParameters(const CDownloadRulesSet& rules) {
    int secure = 1;
    if (TryToGetIntValue(rules.GetDownloadParameter("CustomXAEnableSecure"), &secure)) {
        m_bSecureMode = secure != 0;
    }
    ReadPositive(rules, "CustomXATimeOutAfterPatchMS", &m_nPauseAfterPatchSetMS);
    ReadPositive(rules, "CustomXAMaxWaitForPatchRecMS", &m_nWaitForPatchRecordMS);
    ReadPositive(rules, "CustomXAMaxWaitForSignatureMS", &m_nWaitForSignatureMS);
    ReadPositive(rules, "CustomXATimeoutBeforeSignatureMS", &m_nPauseBeforeSignatureMS);
    ReadPositive(rules, "CustomXAChunkedBusTxMaxPayloadSize", &m_nChunkedTxPayloadSize);
    ReadPositive(rules, "CustomXAChunkedRxMaxTries", &m_nChunkedRxTries);
    ReadPositive(rules, "CustomXAChunkedTxTimeoutMS", &m_nPauseBetweenTxChunksMS);
    ReadPositive(rules, "CustomXAChunkedRxTimeoutMS", &m_nPauseBetweenRxPollsMS);
}

std::string CCustomX4410ADownloadAssistant::LoadPatchFiles(CChipDownloader* downloader) {
    const CChipDownloadDescriptor& files = Owner()->GetDescriptor();
    for (unsigned int i = 0; i < files.CountConfigDataFiles(); ++i) {
        const std::string fileName = files.GetConfigDataFile(i);
        CChipImageByteData image("CONFIG", "Configuration data", fileName.c_str());
        std::string error = image.LoadFromNCDFile(fileName.c_str(), &m_nSignatureRecords);
        if (!error.empty()) {
            return error;
        }
        if (m_nSignatureRecords == 0) {
            return "No signature records found!";
        }
        const unsigned int records = image.CountContiguousRanges();
        Owner()->AddChunk(std::move(image));
        downloader->SetStatusDetails(
            FormatText("A total of %d NCD records will be loaded...", static_cast<int>(records)));
    }
    return {};
}

std::string CCustomX4410ADownloadAssistant::DisableSecureMode(CChipDownloader* downloader) {
    const std::string name = "SET_SECURE_MODE_CMD (DISABLE)";
    unsigned char command[] = {0x10, 0x2F, 0x23, 0x01, 0x00};
    unsigned char expected[] = {0x10, 0x4F, 0x23, 0x01, 0x00};
    downloader->SetStatusDetails("Issuing " + name);
    std::string error;
    if (SendCommandAndWaitForCompletion(downloader->SerialConnector(), nullptr, command,
                                        sizeof command, expected, sizeof expected, 1000, &error,
                                        nullptr)) {
        downloader->SetStatusDetails(name + " succeeded");
    } else {
        // A chip that stays silent is reported and not refused: the records may still go through.
        downloader->SetStatusDetails(name + " failed");
        downloader->SetError(name + " failed");
    }
    return error;
}

unsigned int CCustomX4410ADownloadAssistant::ExecuteDownload(CChipDownloader* downloader) {
    downloader->AddLogText("Entered ExecuteDownload");
    std::string error = ClearRxFIFO(downloader);
    if (error.empty()) {
        downloader->SetState(DOWNLOAD_READY_TO_DOWNLOAD);
        // What goes wrong from here on leaves the download in this state without an error, on
        // purpose, unless a record failed: that error has been set by whoever sent it. In the same
        // way a failed first drain leaves it as it was prepared.
        error = downloader->DownloadInfo()->GetDescriptor().CountConfigDataFiles() == 1
                    ? DownloadPatches(downloader)
                    : FormatText("Must have exactly one config file to load in %s mode",
                                 SPECIAL_X4410A_DL_NAME);
    }
    if (error.empty() && !downloader->IsCanceled()) {
        error = PerformReset(downloader);
    }
    if (error.empty()) {
        downloader->SetState(DOWNLOAD_COMPLETED);
    }
    return 0;
}

std::string CCustomX4410ADownloadAssistant::PerformReset(CChipDownloader* downloader) {
    downloader->AddLogText("Entered PerformReset (nothing done here)");
    return {};
}

std::string CCustomX4410ADownloadAssistant::DownloadPatches(CChipDownloader* downloader) {
    downloader->AddLogText("Entered X4410A DownloadPatches");
    return SendRecords(downloader);
}

std::string CCustomX4410ADownloadAssistant::SendRecords(CChipDownloader* downloader) {
    const CChipImageByteData& image = downloader->DownloadInfo()->GetChunk(0);
    std::string error = ClearRxFIFO(downloader);
    const unsigned int count = image.CountContiguousRanges();
    for (unsigned int i = 0; i < count && error.empty() && !downloader->IsCanceled(); ++i) {
        const CByteBuffer& record = image.GetByteBuffer(i);
        error = record.GetFlag() != 0 ? SendSignatureRecord(downloader, record)
                                      : SendPatchRecord(downloader, record);
    }
    return error;
}

std::string CCustomX4410ADownloadAssistant::SendSignatureRecord(CChipDownloader* downloader,
                                                                const CByteBuffer& record) {
    if (m_nPauseBeforeSignatureMS != 0) {
        downloader->SetStatusDetails("Pausing before signature step");
        PutThreadToSleep(m_nPauseBeforeSignatureMS);
    }
    std::string error;
    if (!SendRecord(record, SIGNATURE_RESPONSE, m_nWaitForSignatureMS, &error, downloader) ||
        !error.empty()) {
        error += "Signature record transmission failed";
        downloader->SetError(error);
        return error;
    }
    downloader->IncrementDownloadByteCounter(false, record.GetDataByteSize());
    downloader->SetStatusDetails("Signature record successfully sent");
    return FinishPatchSet(downloader);
}

std::string CCustomX4410ADownloadAssistant::SendPatchRecord(CChipDownloader* downloader,
                                                            const CByteBuffer& record) {
    std::string error;
    if (!SendRecord(record, PATCH_RESPONSE, m_nWaitForPatchRecordMS, &error, downloader) ||
        !error.empty()) {
        error += " patch record transmission failed";
        downloader->SetError(error);
        return error;
    }
    downloader->IncrementDownloadByteCounter(false, record.GetDataByteSize());
    downloader->SetStatusDetails("Patch record successfully sent");
    return {};
}

std::string CCustomX4410ADownloadAssistant::FinishPatchSet(CChipDownloader* downloader) {
    downloader->SetStatusDetails("Pausing after completing the patch set and verifying signature");
    PutThreadToSleep(m_nPauseAfterPatchSetMS);
    return ClearRxFIFO(downloader);
}

bool CCustomX4410ADownloadAssistant::SendRecord(const CByteBuffer& record,
                                                std::span<const unsigned char> response,
                                                unsigned int timeoutMS, std::string* error,
                                                CChipDownloader* downloader) {
    if (m_nChunkedTxPayloadSize == 0) {
        return SendWholeRecord(record, response, timeoutMS, error, downloader);
    }
    std::vector<unsigned char> expected(response.begin(), response.end());
    return ChunkedTxRx(downloader->SerialConnector(), nullptr, record.GetDataBuffer(),
                       record.GetDataByteSize(), expected.data(),
                       static_cast<unsigned int>(expected.size()), timeoutMS, error, downloader);
}

bool CCustomX4410ADownloadAssistant::SendWholeRecord(const CByteBuffer& record,
                                                     std::span<const unsigned char> response,
                                                     unsigned int timeoutMS, std::string* error,
                                                     CChipDownloader* downloader) {
    std::vector<unsigned char> expected(response.begin(), response.end());
    return SendCommandAndWaitForCompletion(
        downloader->SerialConnector(), nullptr, record.GetDataBuffer(), record.GetDataByteSize(),
        expected.data(), static_cast<unsigned int>(expected.size()), timeoutMS, error, downloader);
}

bool CCustomX4410ADownloadAssistant::ChunkedTxRx(CSerialConnector* connector,
                                                 CByteBuffer* /*prefix*/, unsigned char* txData,
                                                 unsigned int txLength, unsigned char* expected,
                                                 unsigned int expectedLength,
                                                 unsigned int /*timeoutMS*/, std::string* error,
                                                 CChipDownloader* downloader) {
    CNciSegments segments(connector, downloader);
    segments.TraceEntry(txData, txLength, expected, expectedLength);
    *error = segments.Send({txData, txLength}, m_nChunkedTxPayloadSize, m_nPauseBetweenTxChunksMS);
    const bool completed = error->empty() && segments.Receive({expected, expectedLength},
                                                              m_nPauseBetweenRxPollsMS, error);
    segments.TraceExit(completed);
    return completed;
}
