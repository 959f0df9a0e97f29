#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <memory>
#include <string>

#include "app/Arguments.h"
#include "app/DownloadRun.h"
#include "image/ChipImageLoadingInformation.h"
#include "os/OSTime.h"
#include "transport/SerialConnector.h"
#include "transport/SerialConnectorFactory.h"
#include "transport/TerminalRestore.h"

namespace {

constexpr int EXIT_COMMAND_LINE_ERROR = -1;
constexpr int EXIT_NO_TRANSPORT = -2;
constexpr int EXIT_DOWNLOAD_ERROR = -9999;

struct CRequest {
    std::string m_strTransportParameters;
    CChipDownloadDescriptor m_Descriptor;
    bool m_bVintorMode = false;
    bool m_bIssueDownloadMinidriver = true;
    std::string m_strVnpFileName;
    BooleanOptions m_Erase = OPTION_UNSET;
    BooleanOptions m_Write = OPTION_UNSET;
    BooleanOptions m_Verify = OPTION_UNSET;
    BooleanOptions m_CheckCRC = OPTION_UNSET;
    unsigned int m_nMinidriverChunkSize = 0;
};

// Whoever starts the program with a standard stream closed must not find its lines on the chip's
// line: the port would get the free descriptor.
void FillStandardDescriptors() {
    int descriptor = 0;
    while ((descriptor = open("/dev/null", O_RDWR)) >= 0 && descriptor <= STDERR_FILENO) {
    }
    close(descriptor);
}

std::string ReadRequest(int argc, char** argv, CRequest* request) {
    return ProcessArgsAndPrepare(argc, argv, &request->m_strTransportParameters,
                                 &request->m_Descriptor, &request->m_bVintorMode,
                                 &request->m_bIssueDownloadMinidriver, &request->m_strVnpFileName,
                                 &request->m_Erase, &request->m_Write, &request->m_Verify,
                                 &request->m_CheckCRC, &request->m_nMinidriverChunkSize);
}

void ApplyOverrides(const CRequest& request, CChipImageLoadingInformation* info) {
    if (request.m_Erase != OPTION_UNSET) {
        info->SetNeedToErase(request.m_Erase == OPTION_ON);
    }
    if (request.m_Write != OPTION_UNSET) {
        info->SetNeedToWrite(request.m_Write == OPTION_ON);
    }
    if (request.m_Verify != OPTION_UNSET) {
        info->SetNeedToVerify(request.m_Verify == OPTION_ON);
    }
    if (request.m_CheckCRC != OPTION_UNSET) {
        info->SetNeedToCheckCRC(request.m_CheckCRC == OPTION_ON);
    }
    if (request.m_nMinidriverChunkSize != 0) {
        info->SetDLMinidriverChunkSizeOverride(request.m_nMinidriverChunkSize);
    }
}

// What the rules name as the download procedure, or null. Outside Vintor mode rules are used for
// nothing else: it is the only way to the custom procedures.
const char* CustomDownloadType(const CChipImageLoadingInformation& info) {
    const CDownloadRulesSet* rules = info.GetRules();
    return rules == nullptr ? nullptr : rules->GetDownloadParameter("CustomDownload");
}

CChipImageLoadingInformation DescribeDownload(const CRequest& request) {
    CChipImageLoadingInformation info(request.m_Descriptor, false,
                                      request.m_strVnpFileName.c_str());
    if (request.m_bVintorMode) {
        info.MarkVintorMode();
        info.SetFlagIssueDownloadMinidriverCommand(request.m_bIssueDownloadMinidriver);
    } else if (const char* type = CustomDownloadType(info)) {
        info.SetCustomDownloadType(type);
    }
    ApplyOverrides(request, &info);
    return info;
}

void RecordTimes(double total, double net, const char* logFileName) {
    FILE* const file = std::fopen("./DLTIMES.TXT", "at");
    if (file != nullptr) {
        std::fprintf(file, "%8.3f s      %8.3f s    %s\n", total, net, logFileName);
        std::fclose(file);
    }
}

}  // namespace

int main(int argc, char** argv) {
    FillStandardDescriptors();
    // A reader of our lines that goes away does not end the download.
    std::signal(SIGPIPE, SIG_IGN);
    InstallTerminalRestoreOnSignals();

    const unsigned int startedMS = GetCurrentOSTimeMS();
    CRequest request;
    std::string error = ReadRequest(argc, argv, &request);
    if (!error.empty()) {
        std::fprintf(stderr, "Error processing command-line arguments: %s\n", error.c_str());
        return EXIT_COMMAND_LINE_ERROR;
    }

    std::unique_ptr<CSerialConnector> connector(
        CreateSerialConnector(request.m_strTransportParameters.c_str(), &error, nullptr));
    if (connector == nullptr) {
        std::fprintf(stderr, "Error creating a transport connection (%s)   %s\n",
                     request.m_strTransportParameters.c_str(), error.c_str());
        return EXIT_NO_TRANSPORT;
    }

    CChipImageLoadingInformation info = DescribeDownload(request);
    const unsigned int downloadStartedMS = GetCurrentOSTimeMS();
    error = PerformDownload(info, connector.get());
    const unsigned int endedMS = GetCurrentOSTimeMS();
    connector.reset();

    if (!error.empty()) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return EXIT_DOWNLOAD_ERROR;
    }
    const double total = SecondsBetween(startedMS, endedMS);
    const double net = SecondsBetween(downloadStartedMS, endedMS);
    std::printf("Total execution time: %2.2f seconds     Net downloading time: %2.2f seconds\n",
                total, net);
    if (g_bRecordDownloadTimeInFile) {
        RecordTimes(total, net, request.m_Descriptor.GetLogFileName());
    }
    return 0;
}
