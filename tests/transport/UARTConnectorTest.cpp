#include "transport/UARTConnector.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <ctime>
#include <deque>
#include <filesystem>
#include <future>
#include <iterator>
#include <thread>

#include "os/Clock.h"
#include "os/OSExecutionThread.h"
#include "os/OSTime.h"
#include "support/SampleImages.h"
#include "support/TestTerminal.h"
#include "support/UnaffordableThreads.h"

namespace {

// Looks every millisecond, ten seconds at most.
template <class CONDITION>
bool ComesTrue(CONDITION condition) {
    for (int i = 0; i < 10000 && !condition(); ++i) {
        PutThreadToSleep(1);
    }
    return condition();
}

class UARTConnector : public testing::Test {
protected:
    std::string Transmit(Bytes bytes) {
        return m_Connector.TransmitBytes(bytes.data(), static_cast<unsigned int>(bytes.size()));
    }
    std::string Read() {
        m_Received.resize(1000);
        const std::string error = m_Connector.ReadReceivedBytes(m_Received.data(), 1000, &m_nGot);
        m_Received.resize(error.empty() ? m_nGot : 0);
        return error;
    }
    // Reads until count bytes have come or a read fails.
    Bytes ReadAll(std::size_t count) {
        Bytes all;
        EXPECT_TRUE(ComesTrue([&] {
            const bool failed = !Read().empty();
            all.insert(all.end(), m_Received.begin(), m_Received.end());
            return failed || all.size() >= count;
        }));
        return all;
    }

    CTestTerminal m_Terminal;
    CUARTConnector m_Connector;
    Bytes m_Received;
    unsigned int m_nGot = 1;
};

TEST_F(UARTConnector, RunsTheLineRawAndPutsItBack) {
    struct sigaction sigio {};
    for (void (*const handler)(int) : {+[](int) {}, SIG_DFL}) {
        std::signal(SIGIO, handler);
        auto connector = std::make_unique<CUARTConnector>();
        ASSERT_EQ(m_Terminal.Connect(*connector), "");
        sigaction(SIGIO, nullptr, &sigio);
        EXPECT_EQ(sigio.sa_handler, handler == SIG_DFL ? SIG_IGN : handler);
        const termios line = m_Terminal.Settings();
        EXPECT_EQ(line.c_iflag | line.c_oflag | line.c_lflag, 0U);
        EXPECT_EQ(line.c_cflag & ~static_cast<tcflag_t>(CBAUD | CBAUDEX | CIBAUD),
                  static_cast<tcflag_t>(CS8 | CREAD | HUPCL | CLOCAL));
        EXPECT_EQ(line.c_cc[VMIN] | line.c_cc[VTIME], 0);
        EXPECT_EQ(cfgetospeed(&line), static_cast<speed_t>(B115200));
        EXPECT_EQ(cfgetispeed(&line), static_cast<speed_t>(B115200));
        auto* const lock = dynamic_cast<COSMutex*>(pUARTReadMutex.load());
        ASSERT_NE(lock, nullptr);
        EXPECT_EQ(pthread_mutex_trylock(lock->GetHandle()), 0);
        SignalHandler(SIGIO);
        EXPECT_EQ(pthread_mutex_trylock(lock->GetHandle()), 0) << "unlocked meanwhile";
        if (handler == SIG_DFL) {
            EXPECT_EQ(connector->Disconnect(), "");
        } else {
            connector.reset();
        }
        EXPECT_TRUE(m_Terminal.IsAsAtTheStart());
        EXPECT_EQ(pUARTReadMutex, nullptr);
        SignalHandler(SIGIO);
    }
}

std::ptrdiff_t CountEntries(const char* folder) {
    const std::filesystem::directory_iterator entries(folder);
    return std::distance(begin(entries), end(entries));
}

TEST_F(UARTConnector, RefusesWhatDoesNotFitItsState) {
    std::thread([] {}).join();  // whatever the first thread of a process brings along
    const std::ptrdiff_t descriptors = CountEntries("/proc/self/fd");
    const std::ptrdiff_t threads = CountEntries("/proc/self/task");
    CCommunicationParameters none;
    EXPECT_EQ(m_Connector.Disconnect(), "Not connected!");
    EXPECT_EQ(Read(), "Not connected!");
    EXPECT_EQ(m_nGot, 0xFFFFFFFFU);
    EXPECT_EQ(Transmit({1}), "");
    EXPECT_EQ(m_Connector.Connect(none, nullptr, nullptr), "failed to open port: ");
    EXPECT_FALSE(m_Connector.IsConnected());

    ASSERT_EQ(m_Terminal.Connect(m_Connector), "");
    EXPECT_EQ(m_Connector.Connect(none, nullptr, nullptr), "Already connected!");
    EXPECT_EQ(m_Connector.GetConnectionParameters()->GetPortId(), m_Terminal.Path());
    CUARTConnector second;
    EXPECT_EQ(m_Terminal.Connect(second), "failed to open port: " + m_Terminal.Path());
    EXPECT_EQ(second.TransmitBytes(Bytes{7}.data(), 1), "");
    EXPECT_EQ(Transmit({5}), "");
    EXPECT_EQ(m_Terminal.Receive(1), Bytes{5}) << "the first one's line is left alone";
    EXPECT_EQ(m_Terminal.Settings().c_lflag, 0U);
    EXPECT_EQ(m_Connector.Disconnect(), "");
    EXPECT_EQ(m_Connector.GetConnectionParameters(), nullptr);
    EXPECT_EQ(m_Connector.Disconnect(), "Not connected!");
    EXPECT_EQ(m_Terminal.Connect(second), "");
    EXPECT_EQ(second.Disconnect(), "");
    EXPECT_EQ(CountEntries("/proc/self/fd"), descriptors);
    EXPECT_TRUE(ComesTrue([&] { return CountEntries("/proc/self/task") == threads; }));
}

// Nobody asks whether the reader thread has started: without it nothing arrives.
TEST_F(UARTConnector, ConnectsWithoutAReaderToo) {
    {
        const CUnaffordableThreads none;
        EXPECT_EQ(m_Terminal.Connect(m_Connector), "");
    }
    EXPECT_EQ(Read(), "");
    EXPECT_EQ(m_nGot, 0U);
    EXPECT_EQ(m_Connector.Disconnect(), "");
}

TEST_F(UARTConnector, MovesBytesBothWays) {
    m_Terminal.Send({'o', 'l', 'd', '\n'});
    ASSERT_EQ(m_Terminal.Receive(5).size(), 5U) << "the echo of a line that is not raw yet";
    ASSERT_EQ(m_Terminal.Connect(m_Connector), "");
    EXPECT_EQ(Read(), "");
    EXPECT_EQ(m_nGot, 0U) << "what was there before is discarded";

    const Bytes command = {0x01, 0x03, 0x0C, 0x00, '\n', '\r', 0x11, 0x13, 0x03, 0xFF};
    EXPECT_EQ(m_Connector.TransmitBytes(nullptr, 5), "");
    EXPECT_EQ(Transmit({}), "");
    EXPECT_EQ(Transmit(command), "");
    EXPECT_EQ(m_Terminal.Receive(command.size()), command);
    for (int i = 0; i < 3; ++i) {  // twice around the ring
        m_Terminal.Send(SampleBytes(50000, 1));
        EXPECT_EQ(ReadAll(50000), SampleBytes(50000, 1));
    }
}

TEST_F(UARTConnector, SleepsUntilBytesArriveOrTheTimeIsUp) {
    constexpr unsigned int MOST = 25;
    ASSERT_EQ(m_Terminal.Connect(m_Connector), "");
    m_Terminal.Send({1, 2});
    EXPECT_LT(m_Connector.SleepUntilBytes(100, MOST), MOST);
    unsigned char byte = 0;
    EXPECT_EQ(m_Connector.ReadReceivedBytes(&byte, 1, &m_nGot), "");
    EXPECT_LT(m_Connector.SleepUntilBytes(100, MOST), MOST) << "there is one more";
    EXPECT_EQ(ReadAll(1), Bytes{2});
    const auto start = std::chrono::steady_clock::now();
    EXPECT_LE(m_Connector.SleepUntilBytes(2, MOST), MOST);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
}

// A clock that tells the given times, one after the other.
struct CToldClock final : CClock {
    std::deque<std::chrono::milliseconds> m_Times;
    timeval Now() override { return {}; }
    std::chrono::nanoseconds Elapsed() override {
        const std::chrono::milliseconds time = m_Times.front();
        m_Times.pop_front();
        return time;
    }
    bool Sleep(const timespec&, timespec&) override { return true; }
};

// Six periods of 4 ms, with nothing received.
TEST_F(UARTConnector, CountsFewerPeriodsWhenItWakesLate) {
    CToldClock clock;
    const CClockScope inUse(clock);
    ASSERT_EQ(m_Terminal.Connect(m_Connector), "");
    const std::pair<int, unsigned int> cases[] = {{23, 5}, {24, 6}, {25, 5},
                                                  {30, 3}, {48, 1}, {5000, 1}};
    for (const auto& [elapsed, periods] : cases) {
        clock.m_Times = {std::chrono::milliseconds(100), std::chrono::milliseconds(100 + elapsed)};
        EXPECT_EQ(m_Connector.SleepUntilBytes(4, 6), periods) << elapsed;
    }
    EXPECT_EQ(m_Connector.Disconnect(), "");
}

TEST_F(UARTConnector, OverflowsWhenNobodyReads) {
    std::atomic<unsigned int> seen{0};
    const auto count = [](void* context, unsigned char*, unsigned int n) {
        *static_cast<std::atomic<unsigned int>*>(context) += n;
        return n;
    };
    ASSERT_EQ(m_Terminal.Connect(m_Connector, count, &seen), "");
    m_Terminal.Send(SampleBytes(65536, 1));
    EXPECT_TRUE(ComesTrue([&] { return seen == 65536; })) << "the callback gets all of them";
    EXPECT_EQ(Read(), "RxOverflow");
    EXPECT_EQ(Read(), "RxOverflow");
    EXPECT_EQ(m_nGot, 0xFFFFFFFFU);
    EXPECT_EQ(m_Connector.Disconnect(), "");
    ASSERT_EQ(m_Terminal.Connect(m_Connector), "") << "a new connection starts afresh";
    m_Terminal.Send({1, 2, 3});
    EXPECT_EQ(ReadAll(3), (Bytes{1, 2, 3}));
}

TEST_F(UARTConnector, SurvivesTheHangUpOfTheLine) {
    ASSERT_EQ(m_Terminal.Connect(m_Connector), "");
    const std::clock_t before = std::clock();
    PutThreadToSleep(200);
    m_Terminal.HangUp();
    PutThreadToSleep(200);
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 50) << "neither silence nor this costs time";

    EXPECT_EQ(Read(), "");
    EXPECT_EQ(m_nGot, 0U);
    // Would never return if a failed write did not count.
    EXPECT_EQ(Transmit(SampleBytes(100, 1)), "");
    EXPECT_TRUE(m_Connector.IsConnected());
    EXPECT_EQ(m_Connector.Disconnect(), "");
    EXPECT_EQ(Transmit({1}), "");
    EXPECT_EQ(Read(), "");
}

// Another program may make the line wait for bytes. With "min 2 time 255" poll already announces a
// single byte for which read then waits another 25 seconds.
TEST_F(UARTConnector, DisconnectsWhateverTheReaderWaitsFor) {
    const std::tuple<cc_t, cc_t, Bytes> cases[] = {{1, 0, {}}, {0, 255, {}}, {2, 255, {7}}};
    for (const auto& [min, time, sent] : cases) {
        ASSERT_EQ(m_Terminal.Connect(m_Connector), "");
        termios settings = m_Terminal.Settings();
        settings.c_cc[VMIN] = min;
        settings.c_cc[VTIME] = time;
        ASSERT_EQ(tcsetattr(m_Terminal.Slave(), TCSANOW, &settings), 0);
        m_Terminal.Send(sent);
        PutThreadToSleep(50);
        auto done = std::async(std::launch::async, [&] { return m_Connector.Disconnect(); });
        EXPECT_EQ(done.wait_for(std::chrono::seconds(5)), std::future_status::ready) << int{min};
        m_Terminal.Send({1, 2, 3});  // frees a reader that is stuck
        EXPECT_EQ(done.get(), "");
        EXPECT_TRUE(m_Terminal.IsAsAtTheStart());
    }
}

TEST_F(UARTConnector, HasAWriteThreadThatSendsWhatIsQueued) {
    CUARTTransportData record;
    ASSERT_TRUE(record.Port().Open(m_Terminal.Path()));
    COSExecutionThread thread(UARTWriteThread, &record);
    ASSERT_EQ(thread.RunThread(), 0);
    EXPECT_EQ(record.WriteBytesForTransmission(SampleBytes(10000, 1).data(), 10000),
              TRANSPORT_STATUS_OK);
    EXPECT_EQ(m_Terminal.Receive(10000), SampleBytes(10000, 1));
    EXPECT_EQ(record.WriteBytesForTransmission(SampleBytes(65537, 1).data(), 65537),
              TRANSPORT_STATUS_TX_OVERFLOW);
    thread.TerminateThread();
    EXPECT_EQ(thread.WaitUntilDone(), 0) << "also once nothing is sent any more";
}

}  // namespace
