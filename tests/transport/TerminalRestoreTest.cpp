#include "transport/TerminalRestore.h"

#include <gtest/gtest.h>

#include <csignal>
#include <thread>

#include "os/OSTime.h"
#include "support/TestTerminal.h"
#include "transport/UARTConnector.h"

namespace {

CCommunicationParameters ParamsFor(const std::string& path) {
    CCommunicationParameters params;
    EXPECT_EQ(params.ParseCommParams(("PORT=" + path + "\n").c_str()), "");
    return params;
}

// Runs in a child process: connects twice, disconnects one and is ended by the signal.
void ConnectAndEndBy(int signal, const std::string& path, const std::string& otherPath) {
    std::signal(signal, SIG_DFL);  // a test run in the background starts with some ignored
    InstallTerminalRestoreOnSignals();
    CUARTConnector connector;
    CUARTConnector other;
    CCommunicationParameters params = ParamsFor(path);
    CCommunicationParameters otherParams = ParamsFor(otherPath);
    if (connector.Connect(params, nullptr, nullptr).empty() &&
        other.Connect(otherParams, nullptr, nullptr).empty() && other.Disconnect().empty()) {
        kill(getpid(), signal);
        PutThreadToSleep(60000);
    }
    _exit(1);
}

TEST(TerminalRestoreDeathTest, EndingSignalsPutTheSettingsBack) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        const CTestTerminal terminal;
        const CTestTerminal other;
        EXPECT_EXIT(ConnectAndEndBy(signal, terminal.Path(), other.Path()),
                    testing::KilledBySignal(signal), "");
        EXPECT_TRUE(terminal.IsAsAtTheStart()) << signal;
    }
}

TEST(TerminalRestoreDeathTest, IgnoredSignalsStayIgnored) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            signal(SIGHUP, SIG_IGN);
            InstallTerminalRestoreOnSignals();
            raise(SIGHUP);
            _exit(7);
        },
        testing::ExitedWithCode(7), "");
}

// Runs in a child process: signals come while terminals are entered and left all the time.
void EndInTheMiddle(const CTestTerminal& terminal, const CTestTerminal& second) {
    InstallTerminalRestoreOnSignals();
    const auto connectForever = [](const CTestTerminal& used) {
        for (;;) {
            CSerialPort port;
            static_cast<void>(port.Open(used.Path()));
        }
    };
    std::thread busy([&] { connectForever(second); });
    std::thread ending([] {
        PutThreadToSleep(static_cast<unsigned int>(getpid() % 7));
        kill(getpid(), SIGTERM);
        kill(getpid(), SIGINT);
    });
    connectForever(terminal);
}

TEST(TerminalRestoreDeathTest, WhateverTheMomentOfTheSignal) {
    testing::GTEST_FLAG(death_test_style) = "fast";
    for (int i = 0; i < 30; ++i) {
        const CTestTerminal terminal;
        const CTestTerminal second;
        EXPECT_EXIT(
            EndInTheMiddle(terminal, second), [](int status) { return WIFSIGNALED(status); }, "");
        EXPECT_TRUE(terminal.IsAsAtTheStart());
        EXPECT_TRUE(second.IsAsAtTheStart());
    }
}

}  // namespace
