#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/HexBytes.h"
#include "transport/SerialConnector.h"

// A pseudo-terminal for one test: the test holds the master, what is tested opens the path. Starts
// with settings that are not raw and not at 115200 baud, so that changes show.
class CTestTerminal {
public:
    CTestTerminal() {
        char path[64] = "";
        EXPECT_EQ(openpty(&m_nMaster, &m_nSlave, path, nullptr, nullptr), 0);
        m_strPath = path;
        termios settings = Settings();
        settings.c_cc[VMIN] = 7;
        cfsetispeed(&settings, B9600);
        cfsetospeed(&settings, B9600);
        EXPECT_EQ(tcsetattr(m_nSlave, TCSANOW, &settings), 0);
    }
    ~CTestTerminal() {
        HangUp();
        close(m_nSlave);
    }
    CTestTerminal(const CTestTerminal&) = delete;
    CTestTerminal& operator=(const CTestTerminal&) = delete;

    const std::string& Path() const { return m_strPath; }

    // Connects to the terminal; returns the connector's text.
    std::string Connect(CSerialConnector& connector, RxCallback callback = nullptr,
                        void* context = nullptr) const {
        CCommunicationParameters params;
        EXPECT_EQ(params.ParseCommParams(("BAUDRATE=9600\nPORT=" + m_strPath + "\n").c_str()), "");
        return connector.Connect(params, callback, context);
    }
    int Slave() const { return m_nSlave; }

    // The settings of the terminal, whoever made them.
    termios Settings() const {
        termios settings{};
        EXPECT_EQ(tcgetattr(m_nMaster, &settings), 0);
        return settings;
    }

    // Whether the terminal is as the constructor left it.
    bool IsAsAtTheStart() const {
        const termios now = Settings();
        return (now.c_lflag & ICANON) != 0 && (now.c_lflag & ECHO) != 0 &&
               (now.c_oflag & OPOST) != 0 && now.c_cc[VMIN] == 7 && cfgetospeed(&now) == B9600;
    }

    // Sends all bytes to the slave, waiting ten seconds at most for room.
    void Send(const Bytes& bytes) {
        for (std::size_t sent = 0; sent < bytes.size();) {
            pollfd room{m_nMaster, POLLOUT, 0};
            ASSERT_EQ(poll(&room, 1, 10000), 1);
            const std::size_t piece = std::min<std::size_t>(bytes.size() - sent, 1024);
            sent += static_cast<std::size_t>(write(m_nMaster, bytes.data() + sent, piece));
        }
    }

    // What the slave wrote: waits for count bytes, ten seconds at most for each piece.
    Bytes Receive(std::size_t count) {
        Bytes received;
        pollfd there{m_nMaster, POLLIN, 0};
        while (received.size() < count && poll(&there, 1, 10000) == 1) {
            unsigned char byte = 0;
            EXPECT_EQ(read(m_nMaster, &byte, 1), 1);
            received.push_back(byte);
        }
        return received;
    }

    void HangUp() {
        if (m_nMaster >= 0) {
            close(m_nMaster);
            m_nMaster = -1;
        }
    }

private:
    int m_nMaster = -1;
    int m_nSlave = -1;
    std::string m_strPath;
};
