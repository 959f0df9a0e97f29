#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "app/Arguments.h"
#include "app/CheckRun.h"
#include "app/DownloadRun.h"
#include "app/Hints.h"
#include "app/Information.h"
#include "app/Readout.h"
#include "app/RunReport.h"
#include "os/OSTime.h"
#include "os/Terminal.h"
#include "transport/LineCapture.h"
#include "transport/LineMeter.h"
#include "transport/SerialConnector.h"
#include "transport/SerialConnectorFactory.h"
#include "transport/TerminalRestore.h"

namespace {

// By FailurePlaces.
constexpr int EXIT_STATUSES[] = {-1, -2, -9999};

// Opens /dev/null for each standard stream that is closed. The port would otherwise get its
// descriptor, and printed lines would reach the chip.
void FillStandardDescriptors() {
    int descriptor = 0;
    while ((descriptor = open("/dev/null", O_RDWR)) >= 0 && descriptor <= STDERR_FILENO) {
    }
    close(descriptor);
}

// A download goes on when nobody reads its output any more, or a file reaches its size limit.
void IgnoreWriteSignals() {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

// Reads the command line, and makes sure that capture and report can be written before anything is
// sent.
std::string Prepare(int argc, char** argv, CRequest& request, CLineCapture& capture,
                    CRunReport& report) {
    std::string error = AsksForReadout(argc, argv) ? ReadReadoutRequest(argc, argv, request)
                                                   : ReadRequest(argc, argv, request);
    if (error.empty() && !request.m_strCaptureFile.empty()) {
        error =
            capture.Open(request.m_strCaptureFile, "hciload " HCILOAD_VERSION, request.m_strPort);
    }
    if (error.empty() && !request.m_strReportFile.empty()) {
        error = report.Open(request, HCILOAD_VERSION);
    }
    return error;
}

// Both return the exit status.
int Print(const std::string& text) {
    std::fputs(CTerminal(stdout).Shown(text).c_str(), stdout);
    return std::fflush(stdout) == 0 ? 0 : EXIT_STATUSES[FAILED_COMMAND_LINE];
}

int Fail(FailurePlaces place, const std::string& text, const std::string& error,
         const CRequest& request) {
    std::fprintf(stderr, "%s\n", CTerminal(stderr).Shown(text).c_str());
    ShowHints(place, error, request.m_strPort);
    return EXIT_STATUSES[place];
}

void ReportTimes(double total, double net, const char* logFileName) {
    std::printf("Total execution time: %2.2f seconds     Net downloading time: %2.2f seconds\n",
                total, net);
    FILE* const file =
        g_bRecordDownloadTimeInFile ? std::fopen(DOWNLOAD_TIMES_FILE, "at") : nullptr;
    if (file != nullptr) {
        std::fprintf(file, "%8.3f s      %8.3f s    %s\n", total, net, logFileName);
        std::fclose(file);
    }
}

// Returns the exit status.
int Run(const CRequest& request, CLineCapture& capture, CRunReport& report,
        unsigned int startedMS) {
    CLineMeter line(capture);
    std::string error;
    std::unique_ptr<CSerialConnector> connector(
        CreateSerialConnector(request.m_strTransportParameters.c_str(), &error, nullptr, &line));
    report.ConnectingEnds();
    if (connector == nullptr) {
        capture.Note(error);
        report.Close(line, error, EXIT_STATUSES[FAILED_PORT]);
        const std::string text = "Error creating a transport connection (" +
                                 request.m_strTransportParameters + ")   " + error;
        return Fail(FAILED_PORT, text, error, request);
    }

    ShowHint(MakeHintBeforeDownload(request));
    CChipImageLoadingInformation info = DescribeDownload(request);
    const unsigned int downloadStartedMS = GetCurrentOSTimeMS();
    error = PerformDownload(info, connector.get(), report);
    const unsigned int endedMS = GetCurrentOSTimeMS();
    connector.reset();
    const bool isReadout = request.m_pReadout != nullptr;
    if (isReadout && error.empty()) {
        error = DeliverReadout(request);
    }
    report.Close(line, error, error.empty() ? 0 : EXIT_STATUSES[FAILED_DOWNLOAD]);

    if (!error.empty()) {
        return Fail(FAILED_DOWNLOAD, error, error, request);
    }
    if (isReadout) {
        return 0;
    }
    ReportTimes(SecondsBetween(startedMS, endedMS), SecondsBetween(downloadStartedMS, endedMS),
                request.m_Descriptor.GetLogFileName());
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    FillStandardDescriptors();
    IgnoreWriteSignals();
    if (const std::optional<std::string> text = MakeInformation(argc, argv, HCILOAD_VERSION)) {
        return Print(*text);
    }
    if (const std::optional<int> status = CheckRun(argc, argv)) {
        return *status;
    }
    InstallTerminalRestoreOnSignals();

    const unsigned int startedMS = GetCurrentOSTimeMS();
    CRequest request;
    CLineCapture capture;
    CRunReport report;
    const std::string error = Prepare(argc, argv, request, capture, report);
    if (!error.empty()) {
        return Fail(FAILED_COMMAND_LINE, "Error processing command-line arguments: " + error, error,
                    request);
    }
    return Run(request, capture, report, startedMS);
}
