#include "transport/TerminalRestore.h"

#include <gtest/gtest.h>

#include <csignal>
#include <thread>

#include "os/OSTime.h"
#include "support/TestTerminal.h"
#include "transport/UARTConnector.h"

namespace {

// Runs in a child process: connects twice, disconnects one and is ended by the signal.
void ConnectAndEndBy(int signal, const CTestTerminal& terminal, const CTestTerminal& other) {
    std::signal(signal, SIG_DFL);  // a test run in the background starts with some ignored
    InstallTerminalRestoreOnSignals();
    CUARTConnector connector;
    CUARTConnector gone;
    if (terminal.Connect(connector).empty() && other.Connect(gone).empty() &&
        gone.Disconnect().empty()) {
        raise(signal);
    }
    _exit(1);
}

TEST(TerminalRestoreDeathTest, EndingSignalsPutTheSettingsBack) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        const CTestTerminal terminal;
        const CTestTerminal other;
        EXPECT_EXIT(ConnectAndEndBy(signal, terminal, other), testing::KilledBySignal(signal), "");
        EXPECT_TRUE(terminal.IsAsAtTheStart()) << signal;
    }
}

TEST(TerminalRestoreDeathTest, IgnoredSignalsStayIgnored) {
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
    const auto openForever = [](const CTestTerminal& used) {
        for (CSerialPort port;; port.Close()) {
            static_cast<void>(port.Open(used.Path()));
        }
    };
    std::thread busy([&] { openForever(second); });
    std::thread ending([] {
        PutThreadToSleep(static_cast<unsigned int>(getpid() % 7));
        kill(getpid(), SIGTERM);
        kill(getpid(), SIGINT);
    });
    openForever(terminal);
}

TEST(TerminalRestoreDeathTest, WhateverTheMomentOfTheSignal) {
    for (int i = 0; i < 30; ++i) {
        const CTestTerminal terminal;
        const CTestTerminal second;
        EXPECT_EXIT(
            EndInTheMiddle(terminal, second),
            [](int status) {
                return WIFSIGNALED(status) &&
                       (WTERMSIG(status) == SIGTERM || WTERMSIG(status) == SIGINT);
            },
            "");
        EXPECT_TRUE(terminal.IsAsAtTheStart());
        EXPECT_TRUE(second.IsAsAtTheStart());
    }
}

}  // namespace
