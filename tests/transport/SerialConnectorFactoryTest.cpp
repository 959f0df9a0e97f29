#include "transport/SerialConnectorFactory.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdio>
#include <memory>

#include "support/TestTerminal.h"
#include "transport/UARTConnector.h"
#include "util/ByteBuffer.h"

namespace {

TEST(SerialConnectorFactory, RefusesWithItsReason) {
    const std::string before(512 - std::string("PORT=/dev/tty").size(), '\n');
    const std::string unknown = "Failed to recognize the connection transport";
    const std::string twice = "PORT=/dev/ttyNONE\nRTS=1\nRTS=1\n";
    const std::string noPort = "failed to open port: /dev/ttyNONE";
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {"BAUDRATE=115200\n", unknown},
        {"PORT = /dev/ttyNONE\n", unknown},  // the search takes the text as it stands
        {"PORT=/dev/ttyNONE\nBAUDRATE=115200\n", noPort},
        {"port=/dev/ttyNONE\n", noPort},
        {"PORT=/DEV/ttyNONE\n", "failed to open port: /DEV/ttyNONE"},
        {"XPORT=/dev/tty\n", "failed to open port: "},
        {before + "PORT=/dev/ttyNONE\n", noPort},
        {before + "\nPORT=/dev/ttyNONE\n", unknown},
        {twice, CCommunicationParameters().ParseCommParams(twice.c_str())},
    };
    for (const auto& [text, expected] : cases) {
        std::string error = "old";
        CByteBuffer info;
        EXPECT_EQ(CreateSerialConnector(text.c_str(), &error, &info), nullptr) << text;
        EXPECT_EQ(error, expected) << text;
        EXPECT_EQ(info.GetDataByteSize(), 0U) << text;
    }
    std::string error = "old";
    EXPECT_EQ(CreateSerialConnector(nullptr, &error, nullptr), nullptr);
    EXPECT_EQ(error, "");
}

// "/dev/tty" is the one such device that a test can make: for a child in a session of its own,
// which says on standard error what became of its connection.
std::unique_ptr<CSerialConnector> ConnectInASession(const CTestTerminal& terminal) {
    signal(SIGHUP, SIG_IGN);  // comes when the terminal is closed
    setsid();
    ioctl(terminal.Slave(), TIOCSCTTY, 0);
    std::string error;
    CByteBuffer info;
    std::unique_ptr<CSerialConnector> connector(
        CreateSerialConnector("PORT=/dev/tty\n", &error, &info));
    const bool isMarked = info.GetDataByteSize() == 1 && info.GetDataBuffer()[0] == 1;
    std::fprintf(stderr, "%s%s\n", isMarked ? "connected" : "", error.c_str());
    return connector;
}

TEST(SerialConnectorFactoryDeathTest, ControllingTerminalsOfTwoSessionsDoNotCollide) {
    const CTestTerminal first;
    const CTestTerminal second;
    EXPECT_EXIT(
        {
            // The fork comes first: afterwards this process has a reader thread.
            int turn[2] = {};
            char go = 0;
            if (pipe(turn) == 0 && fork() == 0) {
                _exit(read(turn[0], &go, 1) == 1 && ConnectInASession(second) == nullptr);
            }
            const auto held = ConnectInASession(first);
            _exit(write(turn[1], &go, 1) != 1 || wait(nullptr) < 0);
        },
        testing::ExitedWithCode(0), "^connected\nconnected\n$");
}

TEST(SerialConnectorFactoryDeathTest, ControllingTerminalIsFreeAfterADisconnect) {
    const CTestTerminal terminal;
    EXPECT_EXIT(
        {
            const auto first = ConnectInASession(terminal);
            first->Disconnect();
            _exit(ConnectInASession(terminal) == nullptr);
        },
        testing::ExitedWithCode(0), "^connected\nconnected\n$");
}

TEST(SerialConnectorFactoryDeathTest, APortDoesNotBecomeTheControllingTerminal) {
    const CTestTerminal terminal;
    CUARTConnector connector;
    EXPECT_EXIT(_exit(setsid() < 0 || !terminal.Connect(connector).empty() ||
                      open("/dev/tty", O_RDWR) >= 0),
                testing::ExitedWithCode(0), "");
}

TEST(SerialConnectorFactoryDeathTest, ControllingTerminalInUseIsRefused) {
    const CTestTerminal terminal;
    ASSERT_EQ(flock(terminal.Slave(), LOCK_EX | LOCK_NB), 0);  // another run, by the real path
    EXPECT_EXIT(_exit(ConnectInASession(terminal) != nullptr), testing::ExitedWithCode(0),
                "^failed to open port: /dev/tty\n$");
}

}  // namespace
