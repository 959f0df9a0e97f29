#include "transport/SerialConnectorFactory.h"

#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdio>
#include <functional>
#include <memory>

#include "support/TestTerminal.h"
#include "transport/SerialConnector.h"
#include "util/ByteBuffer.h"

namespace {

TEST(SerialConnectorFactory, RefusesWithItsReason) {
    const std::string before(512 - std::string("PORT=/dev/tty").size(), '\n');
    const std::string unknown = "Failed to recognize the connection transport";
    const std::string noPort = "failed to open port: /dev/ttyNONE";
    struct {
        std::string text;
        std::string error;
    } const cases[] = {
        {"", ""},
        {"BAUDRATE=115200\n", unknown},
        {"PORT=COM3\n", unknown},
        {"PORT = /dev/ttyNONE\n", unknown},  // the search takes the text as it stands
        {"PORT=/dev/ttyNONE\nBAUDRATE=115200\n", noPort},
        {"port=/dev/ttyNONE\n", noPort},
        {"PORT=/DEV/ttyNONE\n", "failed to open port: /DEV/ttyNONE"},
        {"XPORT=/dev/tty\n", "failed to open port: "},
        {before + "PORT=/dev/ttyNONE\n", noPort},
        {before + "\nPORT=/dev/ttyNONE\n", unknown},
    };
    for (const auto& c : cases) {
        std::string error = "old";
        CByteBuffer info;
        EXPECT_EQ(CreateSerialConnector(c.text.c_str(), &error, &info), nullptr) << c.text;
        EXPECT_EQ(error, c.error) << c.text;
        EXPECT_EQ(info.GetDataByteSize(), 0U) << c.text;
    }
    std::string error = "old";
    EXPECT_EQ(CreateSerialConnector(nullptr, &error, nullptr), nullptr);
    EXPECT_EQ(error, "");
}

TEST(SerialConnectorFactory, PassesTheParametersErrorOn) {
    const char* const text = "PORT=/dev/ttyNONE\nRTS=1\nRTS=1\n";
    CCommunicationParameters params;
    const std::string expected = params.ParseCommParams(text);
    std::string error;
    EXPECT_EQ(CreateSerialConnector(text, &error, nullptr), nullptr);
    EXPECT_NE(expected, "");
    EXPECT_EQ(error, expected);
}

// The controlling terminal, "/dev/tty", is the one such device that a test can make: for a child
// in a session of its own. The child tells how it fared with a line and its end.
class CChildOnTerminal {
public:
    explicit CChildOnTerminal(const CTestTerminal& terminal) {
        EXPECT_EQ(pipe(m_Report), 0);
        EXPECT_EQ(pipe(m_Hold), 0);
        m_nPid = fork();
        if (m_nPid == 0) {
            close(m_Hold[1]);
            // What the terminal sends when it goes is not what is tested.
            signal(SIGHUP, SIG_IGN);
            setsid();
            ioctl(terminal.Slave(), TIOCSCTTY, 0);
            ConnectAndHold();
            _exit(0);
        }
        close(m_Report[1]);
        close(m_Hold[0]);
    }
    ~CChildOnTerminal() {
        close(m_Hold[1]);
        close(m_Report[0]);
        int status = -1;
        waitpid(m_nPid, &status, 0);
        EXPECT_EQ(status, 0);
    }
    CChildOnTerminal(const CChildOnTerminal&) = delete;
    CChildOnTerminal& operator=(const CChildOnTerminal&) = delete;

    std::string Report() const {
        std::string text;
        char c = 0;
        while (read(m_Report[0], &c, 1) == 1 && c != '\n') {
            text += c;
        }
        return text;
    }

private:
    void ConnectAndHold() const {
        std::string report;
        CByteBuffer info;
        const std::unique_ptr<CSerialConnector> connector(
            CreateSerialConnector("PORT=/dev/tty\n", &report, &info));
        if (connector != nullptr) {
            report = connector->IsConnected() && info.GetDataByteSize() == 1 &&
                             info.GetDataBuffer()[0] == 1
                         ? "connected"
                         : "odd";
        }
        report += '\n';
        char c = 0;
        if (write(m_Report[1], report.data(), report.size()) > 0) {
            while (read(m_Hold[0], &c, 1) > 0) {  // until the test lets go
            }
        }
    }

    int m_Report[2] = {-1, -1};
    int m_Hold[2] = {-1, -1};
    pid_t m_nPid = -1;
};

TEST(SerialConnectorFactory, ControllingTerminalsOfTwoSessionsDoNotCollide) {
    const CTestTerminal first;
    const CTestTerminal second;
    const CChildOnTerminal one(first);
    EXPECT_EQ(one.Report(), "connected");
    const CChildOnTerminal two(second);
    EXPECT_EQ(two.Report(), "connected");
}

TEST(SerialConnectorFactory, ControllingTerminalInUseIsRefused) {
    const CTestTerminal terminal;
    ASSERT_EQ(flock(terminal.Slave(), LOCK_EX | LOCK_NB), 0);  // another run, by the real path
    const CChildOnTerminal child(terminal);
    EXPECT_EQ(child.Report(), "failed to open port: /dev/tty");
}

}  // namespace
