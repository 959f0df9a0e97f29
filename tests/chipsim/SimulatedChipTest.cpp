#include "chipsim/SimulatedChip.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <filesystem>

#include "support/HexBytes.h"

namespace {

namespace fs = std::filesystem;

constexpr int LONG_WAIT_MS = 10'000;

CHIP_SETTINGS Fast() {
    CHIP_SETTINGS settings;
    settings.baud = 0;
    return settings;
}

// The host's end of the port.
class CHost {
public:
    explicit CHost(const std::string& path)
        : m_Port(::open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        EXPECT_TRUE(m_Port.IsOpen()) << path;
    }

    void Send(const std::string& bytes) {
        const Bytes packet = FromHex(bytes);
        EXPECT_EQ(::write(m_Port.Get(), packet.data(), packet.size()),
                  static_cast<ssize_t>(packet.size()));
    }

    // Reads until that many bytes have come; fewer when nothing more comes.
    std::string Receive(std::size_t count) {
        Bytes bytes;
        pollfd fd = {m_Port.Get(), POLLIN, 0};
        while (bytes.size() < count && ::poll(&fd, 1, LONG_WAIT_MS) == 1) {
            unsigned char buffer[256];
            const std::size_t room = std::min(sizeof buffer, count - bytes.size());
            const ssize_t got = ::read(m_Port.Get(), buffer, room);
            if (got <= 0) {
                break;
            }
            bytes.insert(bytes.end(), buffer, buffer + got);
        }
        return ToHex(bytes);
    }

private:
    CFileDescriptor m_Port;
};

TEST(SimulatedChipTest, AnswersOverItsTerminalAndKeepsWhatItSaw) {
    CSimulatedChip chip(Fast());
    ASSERT_EQ(chip.Start(), "");
    {
        CHost host(chip.PortPath());
        host.Send("01 4C FC 06 0A 0D 11 13 0D 0A");  // bytes that a cooked terminal would change
        EXPECT_EQ(host.Receive(7), "04 0E 04 01 4C FC 00");
    }
    chip.WriteMemory(0x13110D0C, FromHex("7F"));
    CHost again(chip.PortPath());  // the port outlives whoever had it open
    again.Send("01 4D FC 05 0A 0D 11 13 03");
    EXPECT_EQ(again.Receive(10), "04 0E 07 01 4D FC 00 0D 0A 7F");
    ASSERT_TRUE(chip.WaitForCommands(2, LONG_WAIT_MS));
    EXPECT_EQ(chip.Commands()[1].address, 0x13110D0AU);
    EXPECT_EQ(ToHex(chip.ReceivedBytes()),
              "01 4C FC 06 0A 0D 11 13 0D 0A 01 4D FC 05 0A 0D 11 13 03");
    chip.Stop();
    EXPECT_EQ(ToHex(chip.ReadMemory(0x13110D0A, 4)), "0D 0A 7F FF");
}

TEST(SimulatedChipTest, ACutPacketDoesNotSwallowTheNextOne) {
    CSimulatedChip chip(Fast());
    ASSERT_EQ(chip.Start(), "");
    CHost host(chip.PortPath());
    host.Send("01 4C FC 20 00");
    // A chip that has not given up yet eats the resets too, so they are repeated.
    std::string answer;
    pollfd none = {-1, 0, 0};
    for (int tries = 0; tries < 20 && chip.Commands().empty(); ++tries) {
        ::poll(&none, 1, 400);
        host.Send("01 03 0C 00");
        chip.WaitForCommands(1, 100);
    }
    EXPECT_EQ(host.Receive(7), "04 0E 04 01 03 0C 00");
    EXPECT_EQ(chip.Commands()[0].kind, CHIP_RESET);
}

TEST(SimulatedChipTest, TakesTheTimeOfItsBaudRate) {
    CHIP_SETTINGS settings;
    settings.baud = 1200;  // 8.3 ms a byte
    CSimulatedChip chip(settings);
    ASSERT_EQ(chip.Start(), "");
    CHost host(chip.PortPath());
    const LineTime start = LineTimeNow();
    host.Send("01 03 0C 00");
    EXPECT_EQ(host.Receive(7), "04 0E 04 01 03 0C 00");
    EXPECT_GE(LineTimeNow() - start, 91 * NS_PER_MS);  // 11 bytes in all
}

TEST(SimulatedChipTest, ItsLinkIsThereWhileItRuns) {
    const fs::path folder =
        fs::path(::testing::TempDir()) / ("chiplink" + std::to_string(getpid()));
    const fs::path link = folder / "port";
    fs::create_directory(folder);
    fs::create_symlink(folder / "gone", link);  // left behind: is replaced
    {
        CSimulatedChip chip(Fast());
        ASSERT_EQ(chip.Start(link), "");
        EXPECT_EQ(chip.PortPath(), link);
        CHost host(link);
        host.Send("01 03 0C 00");
        EXPECT_EQ(host.Receive(7), "04 0E 04 01 03 0C 00");
        CSimulatedChip second(Fast());
        EXPECT_EQ(second.Start(link), "cannot make the link " + link.string() + ": File exists");
    }
    EXPECT_FALSE(fs::is_symlink(link));
    fs::remove_all(folder);
}

}  // namespace
