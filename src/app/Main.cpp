#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <memory>
#include <string>

#include "app/Arguments.h"
#include "app/DownloadRun.h"
#include "os/OSTime.h"
#include "transport/SerialConnector.h"
#include "transport/SerialConnectorFactory.h"
#include "transport/TerminalRestore.h"

namespace {

constexpr int EXIT_COMMAND_LINE_ERROR = -1;
constexpr int EXIT_NO_TRANSPORT = -2;
constexpr int EXIT_DOWNLOAD_ERROR = -9999;

// Opens /dev/null for each standard stream that is closed. The port would otherwise get its
// descriptor, and printed lines would reach the chip.
void FillStandardDescriptors() {
    int descriptor = 0;
    while ((descriptor = open("/dev/null", O_RDWR)) >= 0 && descriptor <= STDERR_FILENO) {
    }
    close(descriptor);
}

void RecordTimes(double total, double net, const char* logFileName) {
    FILE* const file = std::fopen(DOWNLOAD_TIMES_FILE, "at");
    if (file != nullptr) {
        std::fprintf(file, "%8.3f s      %8.3f s    %s\n", total, net, logFileName);
        std::fclose(file);
    }
}

}  // namespace

int main(int argc, char** argv) {
    FillStandardDescriptors();
    // A download goes on when nobody reads its output any more.
    std::signal(SIGPIPE, SIG_IGN);
    InstallTerminalRestoreOnSignals();

    const unsigned int startedMS = GetCurrentOSTimeMS();
    CRequest request;
    std::string error = ReadRequest(argc, argv, request);
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
