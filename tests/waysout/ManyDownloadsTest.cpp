#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <optional>
#include <thread>

#include "app/DownloadRun.h"
#include "chipsim/SimulatedChip.h"
#include "image/ChipImageLoadingInformation.h"
#include "support/SampleImages.h"
#include "support/TempDir.h"
#include "transport/UARTConnector.h"

namespace {

constexpr unsigned int ADDRESS = 0x00500000;

// Which then looks for leaks itself.
constexpr bool MEMORY_IS_KEPT_BY_SANITIZER = !std::string_view(HCILOAD_SANITIZE).empty();

bool WantsLongTests() {
    return std::getenv("HCILOAD_LONG_TESTS") != nullptr;
}

std::ptrdiff_t CountOpenDescriptors() {
    using std::filesystem::directory_iterator;
    return std::distance(directory_iterator("/proc/self/fd"), directory_iterator{});
}

// A number of /proc/self/status, such as "Threads" or "VmRSS" (KiB).
long StatusNumber(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(name + ":")) {
            return std::atol(line.c_str() + name.size() + 1);
        }
    }
    return -1;
}

// Standard output goes elsewhere for the life of the object.
class CQuietOutput {
public:
    CQuietOutput() : m_nSaved(::dup(STDOUT_FILENO)) {
        std::fflush(stdout);
        const CFileDescriptor null(::open("/dev/null", O_WRONLY));
        ::dup2(null.Get(), STDOUT_FILENO);
    }
    CQuietOutput(const CQuietOutput&) = delete;
    CQuietOutput& operator=(const CQuietOutput&) = delete;
    ~CQuietOutput() {
        std::fflush(stdout);
        ::dup2(m_nSaved, STDOUT_FILENO);
        ::close(m_nSaved);
    }

private:
    int m_nSaved;
};

CHIP_SETTINGS FastChip() {
    CHIP_SETTINGS settings;
    settings.baud = 0;
    settings.keepsLog = false;
    return settings;
}

CChipImageLoadingInformation Firmware(const std::string& file) {
    CChipImageLoadingInformation info(nullptr, nullptr, file.c_str());
    CDownloadRulesSet rules("");
    rules.SetDownloadParameter("DLConfigTargeting", "RAM", true);
    rules.SetDownloadParameter("DLMaxWriteSize", "251", true);
    info.GetDescriptor().AddRuleSet(rules);
    return info;
}

// A port is known for a UART by "/dev/tty" in its path.
std::string PortName(const CTempDir& folder, int number) {
    std::filesystem::create_directory(folder.PathOf("dev"));
    return folder.PathOf("dev/tty" + std::to_string(number));
}

std::string DownloadOnce(CSimulatedChip& chip, CChipImageLoadingInformation info) {
    CCommunicationParameters parameters;
    parameters.ParseCommParams(("PORT=" + chip.PortPath() + "\n").c_str());
    CUARTConnector connector;
    std::string error = connector.Connect(parameters, nullptr, nullptr);
    return error.empty() ? PerformDownload(info, &connector) : error;
}

TEST(ManyDownloads, LeaveNothingBehindInTheProcess) {
    PROGRESS_REPORT_INTERVAL_MS = 20;
    const CTempDir folder;
    const std::string file = folder.Write("fw.hex", IntelHexText({{ADDRESS, SampleBytes(64, 1)}}));
    const int rounds = WantsLongTests() ? 63 : 5;
    constexpr int SIDE_BY_SIDE = 8;

    std::mutex mutex;
    std::string errors;  // checked once their text can be seen
    const auto round = [&] {
        std::vector<std::jthread> workers;
        workers.reserve(SIDE_BY_SIDE);
        for (int i = 0; i < SIDE_BY_SIDE; ++i) {
            workers.emplace_back([&, i] {
                CSimulatedChip chip(FastChip());
                std::string error = chip.Start(PortName(folder, i));
                error += DownloadOnce(chip, Firmware(file));
                const std::lock_guard lock(mutex);
                errors += error;
            });
        }
    };
    auto quiet = std::make_optional<CQuietOutput>();
    round();  // what the libraries keep once is there after it
    const auto descriptors = CountOpenDescriptors() - 1;  // one for the quiet output
    const long threads = StatusNumber("Threads");
    const long memory = StatusNumber("VmRSS");
    for (int i = 0; i < rounds; ++i) {
        round();
    }
    quiet.reset();
    EXPECT_EQ(errors, "");
    EXPECT_EQ(CountOpenDescriptors(), descriptors);
    EXPECT_EQ(StatusNumber("Threads"), threads);
    if (!MEMORY_IS_KEPT_BY_SANITIZER) {
        EXPECT_LT(StatusNumber("VmRSS"), memory + 16384);
    }
}

TEST(ManyDownloads, ALargeImageArrivesWhole) {
    PROGRESS_REPORT_INTERVAL_MS = 200;
    const std::size_t size = WantsLongTests() ? std::size_t{16} << 20 : std::size_t{64} << 10;
    const CTempDir folder;
    const Bytes firmware = SampleBytes(static_cast<unsigned int>(size), 3);
    const std::string file = folder.Write("fw.hex", IntelHexText({{ADDRESS, firmware}}));
    CSimulatedChip chip(FastChip());
    ASSERT_EQ(chip.Start(PortName(folder, 0)), "");
    const long before = StatusNumber("VmRSS");
    {
        const CQuietOutput quiet;
        ASSERT_EQ(DownloadOnce(chip, Firmware(file)), "");
    }
    EXPECT_EQ(chip.ReadMemory(ADDRESS, size), firmware);
    RecordProperty("resident_kib_before", static_cast<int>(before));
    RecordProperty("peak_kib", static_cast<int>(StatusNumber("VmHWM")));
    std::printf("%zu bytes: resident before %ld KiB, peak %ld KiB\n", size, before,
                StatusNumber("VmHWM"));
}

}  // namespace
