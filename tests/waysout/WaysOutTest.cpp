#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <termios.h>

#include <iterator>
#include <optional>
#include <vector>

#include "chipsim/SimulatedChip.h"
#include "chipsim/TerminalCommand.h"
#include "support/SampleImages.h"
#include "support/TempDir.h"

namespace {

constexpr unsigned int ADDRESS = 0x00500000;
constexpr unsigned int COMMAND_WAIT_MS = 20000;

// All fields, one behind the other.
std::vector<unsigned int> SettingsOf(const std::string& port) {
    termios settings{};
    const CFileDescriptor descriptor(::open(port.c_str(), O_RDWR | O_NOCTTY));
    EXPECT_EQ(tcgetattr(descriptor.Get(), &settings), 0);
    std::vector<unsigned int> fields = {settings.c_iflag,       settings.c_oflag,
                                        settings.c_cflag,       settings.c_lflag,
                                        cfgetispeed(&settings), cfgetospeed(&settings)};
    fields.insert(fields.end(), std::begin(settings.c_cc), std::end(settings.c_cc));
    return fields;
}

// The program against a chip that takes its time, run by a shell line in a folder of its own.
class WaysOut : public testing::Test {
protected:
    WaysOut() : m_Chip(Settings()) {
        m_Folder.Write("fw.hex", IntelHexText({{ADDRESS, m_Firmware}}));
        EXPECT_EQ(m_Chip.Start(), "");
    }

    // "$HCILOAD" in the line is the program with the options of a download.
    void Start(const std::string& line) {
        const std::string script =
            "cd '" + m_Folder.Path() +
            "' || exit\nHCILOAD='" HCILOAD_PROGRAM
            " -VINTORMODE -PORT /dev/tty -BAUDRATE 115200 -FIRMWARE fw.hex'\n" +
            line;
        m_Program.emplace(NoSignals());
        ASSERT_EQ(m_Program->Start(m_Chip.PortPath(), {"/bin/sh", "-c", script}), "");
    }

    int Run(const std::string& line) {
        Start(line);
        return m_Program->Wait();
    }

    bool ChipHoldsTheFirmware() const {
        return m_Chip.ReadMemory(ADDRESS, m_Firmware.size()) == m_Firmware;
    }

    static CHIP_SETTINGS Settings() {
        CHIP_SETTINGS settings;
        settings.baud = 57600;
        return settings;
    }

    static sigset_t NoSignals() {
        sigset_t none;
        sigemptyset(&none);
        return none;
    }

    CTempDir m_Folder;
    Bytes m_Firmware = SampleBytes(2000, 1);
    CSimulatedChip m_Chip;
    std::optional<CTerminalCommand> m_Program;
};

TEST_F(WaysOut, ASignalEndsTheProgramWithTheTerminalAsItWas) {
    const struct {
        int m_nSignal;
        int m_nStatus;
    } cases[] = {{SIGINT, 130}, {SIGTERM, 143}, {SIGHUP, 129}};
    const std::vector<unsigned int> before = SettingsOf(m_Chip.PortPath());
    std::size_t seen = 0;
    for (const auto& test : cases) {
        SCOPED_TRACE(test.m_nSignal);
        Start("exec $HCILOAD -LOGTO log.txt > out.txt");
        seen += 5;
        ASSERT_TRUE(m_Chip.WaitForCommands(seen, COMMAND_WAIT_MS));
        m_Program->Signal(test.m_nSignal);
        EXPECT_EQ(m_Program->Wait(), test.m_nStatus);
        EXPECT_EQ(SettingsOf(m_Chip.PortPath()), before);
        EXPECT_THAT(m_Folder.Read("log.txt"), testing::HasSubstr("About to execute"));
        seen = m_Chip.Commands().size();
    }
}

TEST_F(WaysOut, ALogLineThatWasWrittenSurvivesAKill) {
    Start("exec $HCILOAD -LOGTO log.txt > out.txt");
    ASSERT_TRUE(m_Chip.WaitForCommands(12, COMMAND_WAIT_MS));
    m_Program->Signal(SIGKILL);
    EXPECT_EQ(m_Program->Wait(), 137);
    const std::string log = m_Folder.Read("log.txt");
    EXPECT_THAT(log, testing::EndsWith("\n"));
    // Minidriver command, reset and ten records: the last one's line came before its bytes went
    // out.
    EXPECT_THAT(log, testing::HasSubstr("successfully had written 32 bytes to address 0x00500100"));
}

TEST_F(WaysOut, WhereTheLinesGoDoesNotMatterToTheDownload) {
    const struct {
        const char* m_szName;
        const char* m_szLine;
    } cases[] = {
        {"full disk", "$HCILOAD > /dev/full"},
        {"log on a full disk", "$HCILOAD -LOGTO /dev/full > out.txt"},
        {"closed output", "$HCILOAD >&-"},
        {"all streams closed", "$HCILOAD <&- >&- 2>&-"},
        {"a reader that goes away",
         "{ $HCILOAD; echo $? > status.txt; } | head -n 1 > out.txt; exit $(cat status.txt)"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.m_szName);
        m_Chip.WriteMemory(ADDRESS, Bytes(m_Firmware.size(), 0));
        EXPECT_EQ(Run(test.m_szLine), 0);
        EXPECT_TRUE(ChipHoldsTheFirmware());
    }
}

TEST_F(WaysOut, ASecondRunOnThePortIsRefusedAndTheFirstGoesOn) {
    Start(
        "$HCILOAD > out.txt & sleep 0.5; $HCILOAD > out2.txt 2> err2.txt; echo $? > status2.txt;"
        " wait $!");
    EXPECT_EQ(m_Program->Wait(), 0);
    EXPECT_EQ(m_Folder.Read("status2.txt"), "254\n");
    EXPECT_THAT(m_Folder.Read("err2.txt"), testing::EndsWith("failed to open port: /dev/tty\n"));
    EXPECT_TRUE(ChipHoldsTheFirmware());
}

TEST_F(WaysOut, RunAfterRunSucceedsAgainstOneChip) {
    const int runs = std::getenv("HCILOAD_LONG_TESTS") != nullptr ? 200 : 4;
    EXPECT_EQ(Run("n=0; while [ $n -lt " + std::to_string(runs) +
                  " ]; do $HCILOAD >> out.txt || exit 1; n=$((n + 1)); done"),
              0);
    EXPECT_TRUE(ChipHoldsTheFirmware());
}

}  // namespace
