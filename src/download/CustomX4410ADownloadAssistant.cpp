#include "download/CustomX4410ADownloadAssistant.h"

#include "download/ChipDownloader.h"
#include "download/HciExchange.h"
#include "download/NciSegments.h"
#include "os/OSTime.h"
#include "util/FormatText.h"
#include "util/NumberText.h"

namespace {

// Keeps the default unless the parameter is a number above 0.
void ReadPositive(const CDownloadRulesSet& rules, const char* name, unsigned int* field) {
    int value = 0;
    if (TryToGetIntValue(rules.GetDownloadParameter(name), &value) && value > 0) {
        *field = static_cast<unsigned int>(value);
    }
}

bool IsSignature(const CByteBuffer& record) {
    return record.GetFlag() != 0;
}

}  // namespace

std::string CCustomX4410ADownloadAssistant::DownloadPrepare(CChipDownloader* downloader) {
    m_bSecureMode = true;
    std::string error = CheckFileCounts();
    if (!error.empty()) {
        return error;
    }
    if (const CDownloadRulesSet* rules = Owner()->GetRules()) {
        ReadParameters(*rules);
    }
    error = LoadPatchFile(downloader);
    // Secure is the chip's default: only the other mode takes a command.
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

std::string CCustomX4410ADownloadAssistant::LoadPatchFile(CChipDownloader* downloader) {
    const std::string fileName = Owner()->GetDescriptor().GetConfigDataFile(0);
    CChipImageByteData image("CONFIG", "Configuration data", fileName.c_str());
    unsigned int signatureRecords = 0;
    std::string error = image.LoadFromNCDFile(fileName.c_str(), &signatureRecords);
    if (!error.empty()) {
        return error;
    }
    if (signatureRecords == 0) {
        return "No signature records found!";
    }
    downloader->SetStatusDetails(FormatText("A total of %d NCD records will be loaded...",
                                            static_cast<int>(image.CountContiguousRanges())));
    Owner()->AddChunk(std::move(image));
    return {};
}

std::string CCustomX4410ADownloadAssistant::DisableSecureMode(CChipDownloader* downloader) {
    const CPhaseScope phase(*downloader, PHASE_PRELOAD);
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
        // Reported, and no reason to stop: a silent chip may still take the records.
        downloader->SetStatusDetails(name + " failed");
        downloader->SetError(name + " failed");
    }
    return error;
}

unsigned int CCustomX4410ADownloadAssistant::ExecuteDownload(CChipDownloader* downloader) {
    const CPhaseScope phase(*downloader, PHASE_WRITE);
    downloader->AddLogText("Entered ExecuteDownload");
    std::string error = ClearRxFIFO(downloader);
    if (error.empty()) {
        downloader->SetState(DOWNLOAD_READY_TO_DOWNLOAD);
        // From here on only a failed record sets an error. Any other failure leaves the download in
        // this state without one, as a failed first drain leaves it as it was prepared: existing
        // callers rely on neither being reported.
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
    return SendRecords(downloader, m_nChunkedTxPayloadSize);
}

std::string CCustomX4410ADownloadAssistant::SendRecords(CChipDownloader* downloader,
                                                        unsigned int payloadSize) {
    const CChipImageByteData& image = downloader->DownloadInfo()->GetChunk(0);
    std::string error = ClearRxFIFO(downloader);
    const unsigned int count = image.CountContiguousRanges();
    for (unsigned int i = 0; i < count && error.empty() && !downloader->IsCanceled(); ++i) {
        const CByteBuffer& record = image.GetByteBuffer(i);
        error = SendRecord(downloader, record, payloadSize);
        if (error.empty() && IsSignature(record)) {
            error = FinishPatchSet(downloader);
        }
    }
    return error;
}

std::string CCustomX4410ADownloadAssistant::SendRecord(CChipDownloader* downloader,
                                                       const CByteBuffer& record,
                                                       unsigned int payloadSize) {
    // The response with status 00; a signature is confirmed by a notification as well.
    unsigned char expected[] = {0x10, 0x4F, 0x2E, 0x01, 0x00, 0x10, 0x6F, 0x2E, 0x01, 0x00};
    const bool isSignature = IsSignature(record);
    const unsigned int expectedLength = isSignature ? sizeof expected : sizeof expected / 2;
    const unsigned int timeoutMS = isSignature ? m_nWaitForSignatureMS : m_nWaitForPatchRecordMS;
    if (isSignature && m_nPauseBeforeSignatureMS != 0) {
        downloader->SetStatusDetails("Pausing before signature step");
        PutThreadToSleep(m_nPauseBeforeSignatureMS);
    }
    CSerialConnector* connector = downloader->SerialConnector();
    unsigned char* data = record.GetDataBuffer();
    const unsigned int length = record.GetDataByteSize();
    std::string error;
    const bool answered =
        payloadSize == SEND_WHOLE
            ? SendCommandAndWaitForCompletion(connector, nullptr, data, length, expected,
                                              expectedLength, timeoutMS, &error, downloader)
            : ChunkedTxRx(connector, nullptr, data, length, expected, expectedLength, timeoutMS,
                          &error, downloader);
    if (!answered) {
        error += isSignature ? "Signature record transmission failed"
                             : " patch record transmission failed";
        downloader->SetError(error);
        return error;
    }
    downloader->IncrementDownloadByteCounter(false, length);
    downloader->RunObserver().RecordDone(length);
    downloader->SetStatusDetails(isSignature ? "Signature record successfully sent"
                                             : "Patch record successfully sent");
    return {};
}

std::string CCustomX4410ADownloadAssistant::FinishPatchSet(CChipDownloader* downloader) {
    downloader->SetStatusDetails("Pausing after completing the patch set and verifying signature");
    PutThreadToSleep(m_nPauseAfterPatchSetMS);
    return ClearRxFIFO(downloader);
}

bool CCustomX4410ADownloadAssistant::ChunkedTxRx(CSerialConnector* connector,
                                                 CByteBuffer* /*prefix*/, unsigned char* txData,
                                                 unsigned int txLength, unsigned char* expected,
                                                 unsigned int expectedLength,
                                                 unsigned int /*timeoutMS*/, std::string* error,
                                                 CChipDownloader* downloader) {
    CNciSegments segments(connector, m_nChunkedTxPayloadSize, m_nPauseBetweenTxChunksMS,
                          m_nPauseBetweenRxPollsMS, downloader);
    const ReplyFailure failure = segments.Exchange({txData, txLength}, {expected, expectedLength});
    *error = failure.value_or("");
    return !failure;
}
