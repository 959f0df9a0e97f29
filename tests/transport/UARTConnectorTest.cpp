#include "transport/UARTConnector.h"

#include <gtest/gtest.h>

#include <csignal>
#include <ctime>
#include <filesystem>
#include <future>
#include <iterator>
#include <mutex>
#include <thread>

#include "os/OSExecutionThread.h"
#include "os/OSTime.h"
#include "support/TestTerminal.h"
#include "support/UnaffordableThreads.h"

namespace {

using Bytes = CTestTerminal::Bytes;

std::size_t CountEntries(const char* folder) {
    const std::filesystem::directory_iterator entries(folder);
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

Bytes Pattern(std::size_t count) {
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<unsigned char>(i + i / 256);
    }
    return bytes;
}

std::string ConnectTo(CUARTConnector& connector, const std::string& path,
                      RxCallback callback = nullptr, void* context = nullptr) {
    CCommunicationParameters params;
    EXPECT_EQ(params.ParseCommParams(("PORT=" + path + "\nBAUDRATE=9600\nCTS=1\n").c_str()), "");
    return connector.Connect(params, callback, context);
}

std::string Transmit(CUARTConnector& connector, Bytes bytes) {
    return connector.TransmitBytes(bytes.data(), static_cast<unsigned int>(bytes.size()));
}

// Polls until count bytes have come or a read fails.
Bytes ReadAll(CUARTConnector& connector, std::size_t count) {
    Bytes all;
    for (int empty = 0; all.size() < count && empty < 10000;) {
        unsigned char piece[1000];
        unsigned int got = 0;
        if (!connector.ReadReceivedBytes(piece, sizeof(piece), &got).empty()) {
            break;
        }
        if (got == 0) {
            ++empty;
            PutThreadToSleep(1);
        }
        all.insert(all.end(), piece, piece + got);
    }
    return all;
}

TEST(UARTConnector, RunsTheLineRawAndPutsItBack) {
    CTestTerminal terminal;
    {
        CUARTConnector connector;
        for (const bool byDisconnect : {true, false}) {
            ASSERT_EQ(ConnectTo(connector, terminal.Path()), "");
            const termios line = terminal.Settings();
            EXPECT_EQ(line.c_iflag, 0U);
            EXPECT_EQ(line.c_oflag, 0U);
            EXPECT_EQ(line.c_lflag, 0U);
            EXPECT_EQ(line.c_cflag & ~static_cast<tcflag_t>(CBAUD | CBAUDEX | CIBAUD),
                      static_cast<tcflag_t>(CS8 | CREAD | HUPCL | CLOCAL));
            EXPECT_EQ(line.c_cc[VMIN], 0);
            EXPECT_EQ(line.c_cc[VTIME], 0);
            EXPECT_EQ(cfgetospeed(&line), static_cast<speed_t>(B115200));
            EXPECT_EQ(cfgetispeed(&line), static_cast<speed_t>(B115200));
            EXPECT_NE(pUARTReadMutex, nullptr);
            if (byDisconnect) {
                EXPECT_EQ(connector.Disconnect(), "");
                EXPECT_TRUE(terminal.IsAsAtTheStart());
                EXPECT_EQ(pUARTReadMutex, nullptr);
            }
        }
    }
    EXPECT_TRUE(terminal.IsAsAtTheStart()) << "after the destructor";
    EXPECT_EQ(pUARTReadMutex, nullptr);
}

TEST(UARTConnector, RefusesWhatDoesNotFitItsState) {
    CTestTerminal terminal;
    CUARTConnector connector;
    unsigned char byte = 0;
    unsigned int got = 0;
    EXPECT_EQ(connector.Disconnect(), "Not connected!");
    EXPECT_EQ(connector.ReadReceivedBytes(&byte, 1, &got), "Not connected!");
    EXPECT_EQ(got, 0xFFFFFFFFU);
    EXPECT_EQ(Transmit(connector, {1}), "");
    EXPECT_EQ(ConnectTo(connector, "/dev/pts/none"), "failed to open port: /dev/pts/none");
    EXPECT_EQ(ConnectTo(connector, ""), "failed to open port: ");
    EXPECT_FALSE(connector.IsConnected());
    EXPECT_EQ(connector.GetConnectionParameters(), nullptr);
    EXPECT_EQ(connector.Disconnect(), "Not connected!");

    ASSERT_EQ(ConnectTo(connector, terminal.Path()), "");
    EXPECT_TRUE(connector.IsConnected());
    EXPECT_EQ(ConnectTo(connector, "/dev/pts/none"), "Already connected!");
    EXPECT_EQ(connector.GetConnectionParameters()->GetPortId(), terminal.Path());
    EXPECT_EQ(connector.Disconnect(), "");
    EXPECT_EQ(connector.Disconnect(), "Not connected!");
    EXPECT_FALSE(connector.IsConnected());
}

TEST(UARTConnector, SecondConnectionToATerminalIsRefused) {
    CTestTerminal terminal;
    CUARTConnector first;
    CUARTConnector second;
    ASSERT_EQ(ConnectTo(first, terminal.Path()), "");
    EXPECT_EQ(ConnectTo(second, terminal.Path()), "failed to open port: " + terminal.Path());
    EXPECT_EQ(terminal.Settings().c_lflag, 0U) << "the first one's line is left alone";
    EXPECT_EQ(first.Disconnect(), "");
    EXPECT_EQ(ConnectTo(second, terminal.Path()), "");
}

// Whether the reader thread starts is not asked, on purpose: without it nothing ever arrives.
TEST(UARTConnector, ConnectsWithoutAReaderToo) {
    CTestTerminal terminal;
    CUARTConnector connector;
    {
        const CUnaffordableThreads none;
        EXPECT_EQ(ConnectTo(connector, terminal.Path()), "");
    }
    unsigned char byte = 0;
    unsigned int got = 1;
    EXPECT_EQ(connector.ReadReceivedBytes(&byte, 1, &got), "");
    EXPECT_EQ(got, 0U);
    EXPECT_EQ(connector.Disconnect(), "");
}

TEST(UARTConnector, MovesBytesBothWays) {
    CTestTerminal terminal;
    CUARTConnector connector;
    ASSERT_TRUE(terminal.Send({'o', 'l', 'd', '\n'}));
    ASSERT_EQ(terminal.Receive(5).size(), 5U) << "the echo of a line that is not raw yet";
    ASSERT_EQ(ConnectTo(connector, terminal.Path()), "");
    unsigned char byte = 0;
    unsigned int got = 1;
    EXPECT_EQ(connector.ReadReceivedBytes(&byte, 1, &got), "");
    EXPECT_EQ(got, 0U) << "what was there before is discarded";

    const Bytes command = {0x01, 0x03, 0x0C, 0x00, '\n', '\r', 0x11, 0x13, 0x03, 0xFF};
    EXPECT_EQ(connector.TransmitBytes(nullptr, 5), "");
    EXPECT_EQ(Transmit(connector, {}), "");
    EXPECT_EQ(Transmit(connector, command), "");
    EXPECT_EQ(terminal.Receive(command.size()), command);

    // Twice around the ring, with bytes waiting to be read while it wraps.
    for (int i = 0; i < 3; ++i) {
        const Bytes pattern = Pattern(50000);
        ASSERT_TRUE(terminal.Send(pattern));
        EXPECT_EQ(ReadAll(connector, pattern.size()), pattern);
    }
}

TEST(UARTConnector, OverflowsWhenNobodyReads) {
    CTestTerminal terminal;
    CUARTConnector connector;
    ASSERT_EQ(ConnectTo(connector, terminal.Path()), "");
    ASSERT_TRUE(terminal.Send(Pattern(65535)));
    EXPECT_EQ(ReadAll(connector, 65535), Pattern(65535));

    std::atomic<unsigned int> seen{0};
    const auto count = [](void* context, unsigned char*, unsigned int n) {
        *static_cast<std::atomic<unsigned int>*>(context) += n;
        return n;
    };
    EXPECT_EQ(connector.Disconnect(), "");
    ASSERT_EQ(ConnectTo(connector, terminal.Path(), count, &seen), "");
    ASSERT_TRUE(terminal.Send(Pattern(65536)));
    while (seen < 65536) {  // the callback gets them, whatever became of the ring
        PutThreadToSleep(1);
    }
    for (int i = 0; i < 2; ++i) {
        unsigned char byte = 0;
        unsigned int got = 0;
        EXPECT_EQ(connector.ReadReceivedBytes(&byte, 1, &got), "RxOverflow");
        EXPECT_EQ(got, 0xFFFFFFFFU);
    }
    EXPECT_EQ(connector.Disconnect(), "");
    ASSERT_EQ(ConnectTo(connector, terminal.Path()), "") << "a new connection starts afresh";
    ASSERT_TRUE(terminal.Send({1, 2, 3}));
    EXPECT_EQ(ReadAll(connector, 3), (Bytes{1, 2, 3}));
}

std::clock_t ProcessorMillisecondsOf200() {
    const std::clock_t before = std::clock();
    PutThreadToSleep(200);
    return (std::clock() - before) * 1000 / CLOCKS_PER_SEC;
}

TEST(UARTConnector, SurvivesTheHangUpOfTheLine) {
    CTestTerminal terminal;
    CUARTConnector connector;
    ASSERT_EQ(ConnectTo(connector, terminal.Path()), "");
    ASSERT_TRUE(terminal.Send({1, 2, 3}));
    EXPECT_EQ(ReadAll(connector, 3), (Bytes{1, 2, 3}));
    EXPECT_LT(ProcessorMillisecondsOf200(), 10) << "a silent line costs nothing";
    terminal.HangUp();
    EXPECT_LT(ProcessorMillisecondsOf200(), 10) << "and so does one that is gone";

    unsigned char byte = 0;
    unsigned int got = 1;
    EXPECT_EQ(connector.ReadReceivedBytes(&byte, 1, &got), "");
    EXPECT_EQ(got, 0U);
    // A write that fails takes the count back below zero, which ends the loop; it would spin for
    // ever if failures were not counted.
    EXPECT_EQ(Transmit(connector, Pattern(100)), "");
    EXPECT_TRUE(connector.IsConnected());
    EXPECT_EQ(connector.Disconnect(), "");
    EXPECT_EQ(Transmit(connector, {1}), "") << "closed: the bytes go nowhere";
    EXPECT_EQ(connector.ReadReceivedBytes(&byte, 1, &got), "");
    EXPECT_EQ(got, 0U);
}

// Another program may make the line wait for bytes. With "min 2 time 255" poll already announces a
// single byte for which read then waits another 25 seconds.
TEST(UARTConnector, DisconnectsWhateverTheReaderWaitsFor) {
    const struct {
        cc_t min, time;
        Bytes sent;
    } cases[] = {{1, 0, {}}, {0, 255, {}}, {2, 255, {7}}};
    for (const auto& c : cases) {
        CTestTerminal terminal;
        CUARTConnector connector;
        ASSERT_EQ(ConnectTo(connector, terminal.Path()), "");
        termios settings = terminal.Settings();
        settings.c_cc[VMIN] = c.min;
        settings.c_cc[VTIME] = c.time;
        ASSERT_EQ(tcsetattr(terminal.Slave(), TCSANOW, &settings), 0);
        ASSERT_TRUE(terminal.Send(c.sent));
        PutThreadToSleep(50);
        auto done = std::async(std::launch::async, [&] { return connector.Disconnect(); });
        EXPECT_EQ(done.wait_for(std::chrono::seconds(5)), std::future_status::ready) << int{c.min};
        terminal.Send({1, 2, 3});  // frees a reader that is stuck
        EXPECT_EQ(done.get(), "");
        EXPECT_TRUE(terminal.IsAsAtTheStart());
    }
}

TEST(UARTConnector, LeavesAHandlerOfSigioAlone) {
    CTestTerminal terminal;
    struct sigaction own {};
    struct sigaction now {};
    own.sa_handler = [](int) {};
    own.sa_flags = SA_RESTART;
    sigaction(SIGIO, &own, nullptr);
    {
        CUARTConnector connector;
        ASSERT_EQ(ConnectTo(connector, terminal.Path()), "");
        sigaction(SIGIO, nullptr, &now);
        EXPECT_EQ(now.sa_handler, own.sa_handler);
        ASSERT_TRUE(terminal.Send({9}));
        EXPECT_EQ(ReadAll(connector, 1), Bytes{9});
    }
    own.sa_handler = SIG_DFL;
    sigaction(SIGIO, &own, nullptr);
    CUARTConnector connector;
    ASSERT_EQ(ConnectTo(connector, terminal.Path()), "");
    sigaction(SIGIO, nullptr, &now);
    EXPECT_EQ(now.sa_handler, SIG_IGN);
}

TEST(UARTConnector, HundredsOfConnectionsLeaveNothingBehind) {
    constexpr int lines = 10;
    constexpr int connectsEach = 20;
    std::thread([] {}).join();  // whatever the first thread of a process brings along
    const std::size_t descriptors = CountEntries("/proc/self/fd");
    const std::size_t threads = CountEntries("/proc/self/task");
    {
        CTestTerminal terminals[lines];
        std::vector<std::thread> users;
        users.reserve(lines);
        for (CTestTerminal& terminal : terminals) {
            users.emplace_back([&terminal] {
                CUARTConnector connector;
                for (int i = 0; i < connectsEach; ++i) {
                    ASSERT_EQ(ConnectTo(connector, terminal.Path()), "");
                    ASSERT_EQ(Transmit(connector, {1, 2, 3}), "");
                    ASSERT_EQ(terminal.Receive(3), (Bytes{1, 2, 3}));
                    ASSERT_EQ(connector.Disconnect(), "");
                }
            });
        }
        for (std::thread& user : users) {
            user.join();
        }
    }
    EXPECT_EQ(CountEntries("/proc/self/fd"), descriptors);
    while (CountEntries("/proc/self/task") > threads) {
        PutThreadToSleep(1);
    }
}

TEST(UARTConnector, SignalHandlerUnlocksTheReadLock) {
    SignalHandler(SIGIO);  // no lock, nothing to do
    COSMutex lock;
    pUARTReadMutex = &lock;
    ASSERT_EQ(pthread_mutex_lock(lock.GetHandle()), 0);
    SignalHandler(SIGIO);
    EXPECT_EQ(pthread_mutex_trylock(lock.GetHandle()), 0);
    pUARTReadMutex = nullptr;
}

TEST(UARTWriteThread, SendsWhatIsQueuedAndEndsWhenAsked) {
    CTestTerminal terminal;
    CUARTTransportData record;
    ASSERT_TRUE(record.Port().Open(terminal.Path()));
    COSExecutionThread thread(UARTWriteThread, &record);
    ASSERT_EQ(thread.RunThread(), 0);
    const Bytes pattern = Pattern(10000);
    EXPECT_EQ(record.WriteBytesForTransmission(pattern.data(), 10000), TRANSPORT_STATUS_OK);
    EXPECT_EQ(terminal.Receive(pattern.size()), pattern);

    const Bytes tooMuch(65537);
    EXPECT_EQ(record.WriteBytesForTransmission(tooMuch.data(), 65537),
              TRANSPORT_STATUS_TX_OVERFLOW);
    thread.TerminateThread();
    EXPECT_EQ(thread.WaitUntilDone(), 0) << "also once nothing is sent any more";
}

}  // namespace
