#include <gtest/gtest.h>
#include <malloc.h>

#include <filesystem>
#include <mutex>
#include <thread>

#include "app/DownloadRun.h"
#include "chipsim/SimulatedChip.h"
#include "image/ChipImageLoadingInformation.h"
#include "support/SampleImages.h"
#include "support/TempDir.h"
#include "transport/UARTConnector.h"

namespace {

constexpr unsigned int SIDE_BY_SIDE = 8;
constexpr std::size_t MEMORY_NOISE = 8192;

std::ptrdiff_t CountEntries(const char* folder) {
    using std::filesystem::directory_iterator;
    return std::distance(directory_iterator(folder), directory_iterator{});
}

// Bytes; 0 under a sanitizer, which looks for leaks itself.
std::size_t MemoryInUse() {
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

std::string DownloadOnce(const std::string& port, const std::string& firmware) {
    CHIP_SETTINGS settings;
    settings.baud = 0;
    CSimulatedChip chip(settings);
    std::string error = chip.Start(port);
    CCommunicationParameters parameters;
    parameters.ParseCommParams(("PORT=" + port + "\n").c_str());
    CUARTConnector connector;
    error += connector.Connect(parameters, nullptr, nullptr);
    CChipImageLoadingInformation info(nullptr, nullptr, firmware.c_str());
    return error + PerformDownload(info, &connector);
}

TEST(ManyDownloads, LeaveNothingInTheProcess) {
    PROGRESS_REPORT_INTERVAL_MS = 20;
    const CTempDir folder;
    const std::string file = folder.Write("fw.hex", IntelHexText({{0x1000, SampleBytes(64, 1)}}));
    // A port is known for a UART by "/dev/tty" in its path.
    std::filesystem::create_directory(folder.PathOf("dev"));
    std::mutex mutex;
    std::string errors;
    const auto round = [&] {
        std::vector<std::jthread> workers;
        for (unsigned int i = 0; i < SIDE_BY_SIDE; ++i) {
            workers.emplace_back([&, i] {
                const std::string port = folder.PathOf("dev/tty" + std::to_string(i));
                const std::string error = DownloadOnce(port, file);
                const std::lock_guard lock(mutex);
                errors += error;
            });
        }
    };
    testing::internal::CaptureStdout();
    round();  // what the libraries allocate once is there after it
    const std::size_t memory = MemoryInUse();
    const std::ptrdiff_t descriptors = CountEntries("/proc/self/fd");
    const std::ptrdiff_t threads = CountEntries("/proc/self/task");
    const int rounds = std::getenv("HCILOAD_LONG_TESTS") != nullptr ? 63 : 4;
    for (int i = 0; i < rounds; ++i) {
        round();
    }
    EXPECT_LT(MemoryInUse(), memory + MEMORY_NOISE);
    EXPECT_EQ(CountEntries("/proc/self/fd"), descriptors);
    EXPECT_EQ(CountEntries("/proc/self/task"), threads);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(errors, "");
}

}  // namespace
