#include <climits>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "download/ChipDownloader.h"
#include "download/HciExchange.h"
#include "util/HexText.h"

namespace {

constexpr unsigned int MAX_MESSAGE_BYTES = 128;

// Takes the text between the next "{" and the next "}" from *cursor. False when a brace is missing.
bool TakeBraceGroup(std::string_view* cursor, std::string* group) {
    const std::size_t open = cursor->find('{');
    if (open == std::string_view::npos) {
        return false;
    }
    const std::size_t close = cursor->find('}', open);
    if (close == std::string_view::npos) {
        return false;
    }
    *group = cursor->substr(open + 1, close - open - 1);
    cursor->remove_prefix(close + 1);
    return true;
}

// Empty when the text is not a list of at most MAX_MESSAGE_BYTES bytes.
std::vector<unsigned char> ParseMessageBytes(const std::string& text) {
    std::vector<unsigned char> bytes(MAX_MESSAGE_BYTES);
    unsigned int count = 0;
    const bool isList =
        ParseHexBytesFromString(text.c_str(), bytes.data(), MAX_MESSAGE_BYTES, &count);
    bytes.resize(isList ? count : 0);
    return bytes;
}

// A leading decimal number, as scanf's %d reads it. 0 when there is none that makes a time to wait.
unsigned int ParseMaxTime(const std::string& text) {
    const long value = std::strtol(text.c_str(), nullptr, 10);
    return value > 0 && value <= INT_MAX ? static_cast<unsigned int>(value) : 0;
}

std::string SendPreloadMessage(CSerialConnector* connector, const std::string& toSend,
                               const std::string& expectedBack, const std::string& maxTime) {
    std::string error = CChipDownloader::CheckPreloadMessage(toSend, expectedBack, maxTime);
    if (!error.empty()) {
        return error;
    }
    std::vector<unsigned char> command = ParseMessageBytes(toSend);
    std::vector<unsigned char> expected = ParseMessageBytes(expectedBack);
    const unsigned int timeoutMs = ParseMaxTime(maxTime);
    // No prefix: a message states all of its bytes.
    if (!SendCommandAndWaitForCompletion(connector, nullptr, command.data(),
                                         static_cast<unsigned int>(command.size()), expected.data(),
                                         static_cast<unsigned int>(expected.size()), timeoutMs,
                                         &error, nullptr)) {
        return "SendCommandAndWaitForCompletion call failed" + error;
    }
    return {};
}

}  // namespace

std::string CChipDownloader::VintorDownloadFinalPreparations() {
    if (!m_LoadingInformation.IsVintorMode()) {
        return "CChipDownloader::PrepareForVintorDownload ERROR: NOT VINTOR MODE";
    }
    const CPhaseScope phase(*this, PHASE_PRELOAD);
    std::string error = VintorPreDownloadSendMessages();
    if (!error.empty() || !m_LoadingInformation.NeedToIssueDownloadMinidriverCommand()) {
        return error;
    }
    AddLogText("About to execute DownloadMinidriver command");
    return VintorDownloadMinidriverCommand();
}

std::string CChipDownloader::VintorDownloadMinidriverCommand() {
    const ReplyFailure failure =
        ExecuteCommand(m_pConnector, UARTTransmitPrefix(), HCI_DOWNLOAD_MINIDRIVER,
                       HCI_DOWNLOAD_MINIDRIVER.Bytes());
    return failure ? *failure + " VintorDownloadMinidriver failed!" : "";
}

std::string CChipDownloader::VintorPreDownloadSendMessages() {
    const CDownloadRulesSet* rules = m_LoadingInformation.GetRules();
    const char* cursor =
        rules == nullptr ? nullptr : rules->GetDownloadParameter("CustomVintorPreloadMessages");
    std::string toSend;
    std::string expectedBack;
    std::string maxTime;
    while ((cursor = ExtractNextByteSequenceToSend(cursor, &toSend, &expectedBack, &maxTime)) !=
           nullptr) {
        AddLogText("Sending custom preload message bytes" + toSend);
        const std::string error = SendPreloadMessage(m_pConnector, toSend, expectedBack, maxTime);
        if (!error.empty()) {
            return "CChipDownloader::VintorPreDownloadSendMessages: " + error;
        }
    }
    return {};
}

const char* CChipDownloader::ExtractNextByteSequenceToSend(const char* text,
                                                           std::string* bytesToSend,
                                                           std::string* bytesExpected,
                                                           std::string* maxTime) {
    bytesToSend->clear();
    bytesExpected->clear();
    maxTime->clear();
    if (text == nullptr) {
        return nullptr;
    }
    std::string_view cursor(text);
    if (!TakeBraceGroup(&cursor, bytesToSend) || !TakeBraceGroup(&cursor, bytesExpected) ||
        !TakeBraceGroup(&cursor, maxTime)) {
        return nullptr;
    }
    return cursor.data();
}

std::string CChipDownloader::CheckPreloadMessage(const std::string& toSend,
                                                 const std::string& expectedBack,
                                                 const std::string& maxTime) {
    if (ParseMessageBytes(toSend).empty()) {
        return "Invalid BYTES TO SEND:" + toSend;
    }
    if (ParseMessageBytes(expectedBack).empty()) {
        return "Invalid BYTES EXPECTED BACK:" + expectedBack;
    }
    return ParseMaxTime(maxTime) == 0 ? "Invalid MAX TIME TO WAIT:" + maxTime : "";
}
