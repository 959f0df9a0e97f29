#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "chipsim/SimulatedChip.h"
#include "download/ReceiveBuffer.h"
#include "download/VintorCommands.h"
#include "os/OSTime.h"
#include "support/TempDir.h"
#include "support/TestTerminal.h"
#include "transport/LineCapture.h"
#include "transport/UARTConnector.h"
#include "util/ByteBuffer.h"

// What a record costs against the protocol's own floor: the 4 ms between command and first poll, or
// the time that the bytes take on a paced line. All of it over a real pseudo-terminal.

namespace {

constexpr unsigned int ADDRESS = 0x00500000;

std::string ConnectTo(CUARTConnector& connector, const std::string& path) {
    CCommunicationParameters parameters;
    parameters.ParseCommParams(("PORT=" + path + "\n").c_str());
    return connector.Connect(parameters, nullptr, nullptr);
}

class CConnectedChip {
public:
    explicit CConnectedChip(unsigned int baud, CLineObserver* observer = nullptr)
        : m_Chip(Settings(baud)) {
        m_Connector.SetObserver(observer);
        std::string error = m_Chip.Start();
        if (error.empty()) {
            error = ConnectTo(m_Connector, m_Chip.PortPath());
        }
        if (!error.empty()) {
            throw std::runtime_error(error);
        }
    }

    bool Write(std::vector<unsigned char>& record) {
        return VintorDownloadSingleRecord(&m_Connector, &m_Prefix, record.data(),
                                          static_cast<unsigned char>(record.size()), ADDRESS);
    }

    bool Verify(std::vector<unsigned char>& record) {
        std::string error;
        return VintorVerifySingleRecord(&m_Connector, &m_Prefix, record.data(),
                                        static_cast<unsigned char>(record.size()), ADDRESS, &error);
    }

    bool Read(std::vector<unsigned char>& record) {
        bool isAlone = false;
        return !VintorReadSingleRecord(&m_Connector, &m_Prefix, record.data(),
                                       static_cast<unsigned char>(record.size()), ADDRESS,
                                       &isAlone);
    }

private:
    static CHIP_SETTINGS Settings(unsigned int baud) {
        CHIP_SETTINGS settings;
        settings.baud = baud;
        return settings;
    }

    CSimulatedChip m_Chip;
    CUARTConnector m_Connector;
    CByteBuffer m_Prefix{1, 0x01};
};

double ProcessorSeconds(int who) {
    rusage usage{};
    getrusage(who, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// Runs the exchange and counts the processor time of the thread that makes it.
template <typename Exchange>
void RunExchanges(benchmark::State& state, Exchange exchange) {
    SharpenSleepsOfThisThread();  // as the download thread does
    const double before = ProcessorSeconds(RUSAGE_THREAD);
    for (auto _ : state) {
        if (!exchange()) {
            state.SkipWithError("no reply");
            break;
        }
    }
    state.counters["cpu_per_exchange_us"] = benchmark::Counter(
        (ProcessorSeconds(RUSAGE_THREAD) - before) * 1e6, benchmark::Counter::kAvgIterations);
}

// core_share: the part of a core that an open port costs while nothing arrives.
void SilentLine(benchmark::State& state) {
    const CTestTerminal terminal;
    CUARTConnector connector;
    if (!ConnectTo(connector, terminal.Path()).empty()) {
        state.SkipWithError("cannot connect");
    }
    const double before = ProcessorSeconds(RUSAGE_SELF);
    for (auto _ : state) {
        PutThreadToSleep(1000);
    }
    state.counters["core_share"] = benchmark::Counter(ProcessorSeconds(RUSAGE_SELF) - before,
                                                      benchmark::Counter::kAvgIterations);
}
BENCHMARK(SilentLine)->UseRealTime()->Unit(benchmark::kMillisecond);

// In a thread of its own, so that no benchmark before it has changed how it sleeps.
void BareSleep(benchmark::State& state) {
    for (auto _ : state) {
        std::thread([&state] {
            const auto started = std::chrono::steady_clock::now();
            PutThreadToSleep(4);
            const std::chrono::duration<double> slept = std::chrono::steady_clock::now() - started;
            state.SetIterationTime(slept.count());
        }).join();
    }
}
BENCHMARK(BareSleep)->UseManualTime()->Unit(benchmark::kMicrosecond);

void WriteRecord(benchmark::State& state) {
    CConnectedChip chip(0);
    std::vector<unsigned char> record(static_cast<std::size_t>(state.range(0)), 0x5A);
    RunExchanges(state, [&] { return chip.Write(record); });
}
BENCHMARK(WriteRecord)->Arg(32)->Arg(251)->UseRealTime()->Unit(benchmark::kMicrosecond);

void WriteRecordCaptured(benchmark::State& state) {
    const CTempDir folder;
    CLineCapture capture;
    if (!capture.Open(folder.PathOf("line.pcapng"), "bench", "port").empty()) {
        state.SkipWithError("cannot capture");
    }
    CConnectedChip chip(0, &capture);
    std::vector<unsigned char> record(static_cast<std::size_t>(state.range(0)), 0x5A);
    RunExchanges(state, [&] { return chip.Write(record); });
}
BENCHMARK(WriteRecordCaptured)->Arg(32)->Arg(251)->UseRealTime()->Unit(benchmark::kMicrosecond);

void VerifyRecord(benchmark::State& state) {
    CConnectedChip chip(0);
    std::vector<unsigned char> record(static_cast<std::size_t>(state.range(0)), 0x5A);
    chip.Write(record);
    RunExchanges(state, [&] { return chip.Verify(record); });
}
BENCHMARK(VerifyRecord)->Arg(32)->Arg(251)->UseRealTime()->Unit(benchmark::kMicrosecond);

// line_use: the part of the time in which the line carried the command or its reply.
template <typename Exchange>
void RunAt115200(benchmark::State& state, std::size_t wireBytes, Exchange exchange) {
    constexpr double SECONDS_PER_BYTE = 10.0 / 115200;
    CConnectedChip chip(115200);
    const auto n = static_cast<std::size_t>(state.range(0));
    std::vector<unsigned char> record(n, 0x5A);
    RunExchanges(state, [&] { return (chip.*exchange)(record); });
    const double wireSeconds = static_cast<double>(wireBytes + n) * SECONDS_PER_BYTE;
    state.counters["line_use"] = benchmark::Counter(
        wireSeconds * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

void WriteRecordAt115200(benchmark::State& state) {
    RunAt115200(state, 1 + 7 + 7, &CConnectedChip::Write);
}
BENCHMARK(WriteRecordAt115200)->Arg(32)->Arg(251)->UseRealTime()->Unit(benchmark::kMicrosecond);

void ReadRecordAt115200(benchmark::State& state) {
    RunAt115200(state, 1 + 8 + 7, &CConnectedChip::Read);
}
BENCHMARK(ReadRecordAt115200)->Arg(32)->Arg(251)->UseRealTime()->Unit(benchmark::kMicrosecond);

void FindPattern(benchmark::State& state) {
    std::vector<unsigned char> received(static_cast<std::size_t>(state.range(0)), 0x0E);
    const unsigned char pattern[] = {0x0E, 0x04, 0x01, 0x4C, 0xFC, 0x00};
    for (auto _ : state) {
        benchmark::DoNotOptimize(FindBytesInBuffer(
            received.data(), static_cast<unsigned int>(received.size()), pattern, sizeof pattern));
    }
}
BENCHMARK(FindPattern)->Arg(128)->Arg(512);

}  // namespace
