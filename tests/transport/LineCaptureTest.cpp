#include "transport/LineCapture.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <chrono>
#include <csignal>
#include <optional>
#include <random>
#include <thread>

#include "support/CaptureReader.h"
#include "support/CapturedStream.h"
#include "support/TempDir.h"
#include "util/ByteOrder.h"

namespace {

using namespace std::chrono_literals;
using testing::ElementsAreArray;

// One step of a line's life: "> 01 03" and "< 04 0E" are bytes, "# text" a note, "~" a silence.
void Play(CLineObserver& observer, const std::vector<std::string>& steps) {
    for (const std::string& step : steps) {
        const std::string rest = step.substr(std::min<std::size_t>(step.size(), 2));
        if (step[0] == '>') {
            observer.SentByHost(FromHex(rest));
        } else if (step[0] == '<') {
            observer.SentByChip(FromHex(rest));
        } else if (step[0] == '#') {
            observer.Note(rest);
        } else {
            std::this_thread::sleep_for(60ms);
        }
    }
}

std::uint64_t Now() {
    return static_cast<std::uint64_t>(std::chrono::system_clock::now().time_since_epoch() / 1ns);
}

class LineCaptureTest : public ::testing::Test {
protected:
    // The file's bytes while it is still being written.
    std::string Capture(const std::vector<std::string>& steps, const std::string& name) {
        CLineCapture capture;
        EXPECT_EQ(capture.Open(m_Folder.PathOf(name), "hciload 1.0", "/dev/ttyS0"), "");
        Play(capture, steps);
        return m_Folder.Read(name);
    }

    CTempDir m_Folder;
};

#define RESET "01 03 0C 00"
#define DONE "04 0E 04 01 03 0C 00"
#define MARKER "04 FF 01 CE"

TEST_F(LineCaptureTest, CutsWhatTheChipSendsIntoPackets) {
    const struct {
        const char* m_szFault;
        std::vector<std::string> m_Steps;
        std::vector<std::string> m_Items;
    } cases[] = {
        {"none", {"> " RESET, "< " DONE}, {"0 > " RESET, "0 < " DONE}},
        {"pieces",
         {"< 04", "< 0E", "~", "< 04 01", "> " RESET, "< 03 0C 00 04", "< FF 01", "< CE"},
         {"0 > " RESET, "0 < " DONE, "0 < " MARKER}},
        {"pieces that may be starts",
         {"< 04 0E 07 01 4D FC 00", "~", "< 04", "< 05 06", "< 04 FF 08 00 00 00 00 04 0E 04 01"},
         {"0 < 04 0E 07 01 4D FC 00 04 05 06", "0 < 04 FF 08 00 00 00 00 04 0E 04 01"}},
        {"an unusual event", {"< 04 3E 02 0D 00 " DONE}, {"0 < 04 3E 02 0D 00", "0 < " DONE}},
        {"noise before",
         {"< 00 04 77 04 0E", "< 01 04", "< 0F 05 " DONE},
         {"1 < 00 04 77 04 0E 01 04 0F 05", "0 < " DONE}},
        {"noise after",
         {"< " DONE " 55", "< 66", "~", "> " RESET},
         {"0 < " DONE, "1 < 55 66", "0 > " RESET}},
        {"noise, and the next command at once",
         {"< " DONE " 55", "> " RESET, "< 66 " DONE},
         {"0 < " DONE, "1 < 55", "0 > " RESET, "1 < 66", "0 < " DONE}},
        {"noise that looks like a long event",
         {"< 04 77 F0 " DONE, "> " RESET, "< " DONE},
         {"1 < 04 77 F0", "0 < " DONE, "0 > " RESET, "0 < " DONE}},
        {"cut",
         {"> " RESET, "< 04 0E 04 01", "~", "# no reply", "> " RESET, "< " DONE},
         {"0 > " RESET, "1 < 04 0E 04 01", "1 # no reply", "0 > " RESET, "0 < " DONE}},
        {"cut, then another event",
         {"< 04", "~", "< 04", "< FF 01 CE 04 0E 04 01 03", "~", "< " MARKER},
         {"1 < 04", "0 < " MARKER, "1 < 04 0E 04 01 03", "0 < " MARKER}},
        {"cut by a byte, then another event in pieces",
         {"< 04 0E 04 01 03 0C", "~", "< 04", "< FF 01 CE"},
         {"1 < 04 0E 04 01 03 0C", "0 < " MARKER}},
        {"cut, and the next command at once",
         {"> " RESET, "< 04 0E 04 01 03", "> " RESET, "< " DONE},
         {"0 > " RESET, "0 > " RESET, "1 < 04 0E 04 01 03", "0 < " DONE}},
        {"a length that says more",
         {"< 04 0E 84 01 03 0C 00", "> " RESET, "< " DONE},
         {"0 > " RESET, "1 < 04 0E 84 01 03 0C 00", "0 < " DONE}},
        {"twice, and the next command in between",
         {"< " DONE " 04 0E 04", "> " RESET, "< 01 03 0C 00 " MARKER},
         {"0 < " DONE, "0 > " RESET, "0 < " DONE, "0 < " MARKER}},
        {"cut at the end", {"< 04 0E 04", "~", "# end"}, {"1 < 04 0E 04", "1 # end"}},
        {"NCI",
         {"> 10 2F 2E 01 AA", "< 10 4F 2E 01", "< 00 10 6F 2E 01 00 04 0E 10", "< 60 00 02 00 01"},
         {"1 > 10 2F 2E 01 AA", "1 < 10 4F 2E 01 00", "1 < 10 6F 2E 01 00", "1 < 04 0E",
          "1 < 10 60 00 02 00 01"}},
        {"commands in one transmission",
         {"> " RESET " " RESET " 01 4C"},
         {"0 > " RESET, "0 > " RESET, "1 > 01 4C"}},
    };
    for (const auto& c : cases) {
        EXPECT_THAT(CCaptureReader(Capture(c.m_Steps, "c.pcapng")).m_Items,
                    ElementsAreArray(c.m_Items))
            << c.m_szFault;
    }
}

TEST_F(LineCaptureTest, NamesProgramAndPortAndTellsTheTime) {
    const std::uint64_t before = Now();
    const CCaptureReader content(Capture(
        {"# Initialized", "< 04 0E", "> " RESET, "~", "# " + std::string(70000, 'x')}, "c.cap"));
    EXPECT_EQ(content.m_strProgram, "hciload 1.0");
    EXPECT_THAT(content.m_Interfaces, testing::ElementsAre("201 /dev/ttyS0", "147 /dev/ttyS0"));
    EXPECT_EQ(content.m_Items.back(), "1 # " + std::string(65532, 'x'));
    EXPECT_GE(content.m_Times.front(), before);
    EXPECT_LE(content.m_Times.back(), Now());
    EXPECT_TRUE(std::ranges::is_sorted(content.m_Times));
    EXPECT_GE(content.m_Times.back() - *(content.m_Times.end() - 2), 60'000'000U);
}

TEST_F(LineCaptureTest, WritesBtsnoopToAFileOfThatName) {
    const std::uint64_t before = Now();
    std::string file = Capture({"# x", "> " RESET, "< 55 " DONE, "> 10 2F"}, "c.btsnoop");
    ASSERT_EQ(file.size(), 16U + 24 + 4 + 24 + 7);
    for (const std::size_t at : {16U, 16U + 24 + 4}) {
        const auto* time = reinterpret_cast<const unsigned char*>(&file[at + 16]);
        const auto ns = (CopyByteBufferToUint64(time) - 0x00DCDDB30F2F8000) * 1000;
        EXPECT_LE(before / 1000 * 1000, ns);
        EXPECT_LE(ns, Now());
        file.erase(at + 16, 8);
        file.insert(at + 16, 8, 'T');
    }
    EXPECT_EQ(ToHex({file.begin(), file.end()}),
              "62 74 73 6E 6F 6F 70 00 00 00 00 01 00 00 03 EA "
              "00 00 00 04 00 00 00 04 00 00 00 02 00 00 00 00 54 54 54 54 54 54 54 54 " RESET
              " 00 00 00 07 00 00 00 07 00 00 00 03 00 00 00 00 54 54 54 54 54 54 54 54 " DONE);
}

// Two threads, any noise, pieces of any size: nothing is lost, doubled or out of order.
TEST_F(LineCaptureTest, KeepsEveryByteInTheOrderOfTime) {
    std::mt19937 random(1);
    std::string stream;
    for (int i = 0; i < 2000; ++i) {
        stream += "\x04\x0E\x03\x01\x4C\xFC";
        for (auto noise = random() % 8 == 0 ? random() % 3000 : 0; noise > 0; --noise) {
            stream += static_cast<char>(random() % 8);
        }
    }
    stream += '\x04';
    std::optional<CLineCapture> capture(std::in_place);
    ASSERT_EQ(capture->Open(m_Folder.PathOf("c.pcapng"), "", ""), "");
    std::thread host([&] { Play(*capture, std::vector<std::string>(1000, "> " RESET)); });
    for (std::size_t at = 0; at < stream.size();) {
        const std::string piece = stream.substr(at, 1 + random() % 255);
        capture->SentByChip({reinterpret_cast<const unsigned char*>(piece.data()), piece.size()});
        at += piece.size();
    }
    host.join();
    capture.reset();
    const CCaptureReader content(m_Folder.Read("c.pcapng"));
    std::string received;
    for (const std::string& item : content.m_Items) {
        const Bytes bytes = FromHex(item.substr(4));
        EXPECT_LT(bytes.size(), 1500U);
        received.append(bytes.begin(), item[2] == '<' ? bytes.end() : bytes.begin());
    }
    EXPECT_TRUE(received == stream);
    EXPECT_EQ(std::ranges::count(content.m_Items, "0 > " RESET), 1000);
    EXPECT_GT(std::ranges::count(content.m_Items, "0 < 04 0E 03 01 4C FC"), 1990);
    EXPECT_TRUE(std::ranges::is_sorted(content.m_Times));
}

TEST_F(LineCaptureTest, AFullDiskEndsTheCaptureWithOneWarning) {
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, SIG_IGN);
    CCapturedStream errors(stderr);
    CLineCapture capture;
    ASSERT_EQ(capture.Open(m_Folder.PathOf("c.pcapng"), "", ""), "");
    Play(capture, {"> " RESET});
    const std::size_t whole = m_Folder.Read("c.pcapng").size();
    const rlimit limit = {whole + 10, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
    Play(capture, {"< " DONE, "> " RESET});
    setrlimit(RLIMIT_FSIZE, &before);
    Play(capture, {"> " RESET});
    EXPECT_EQ(errors.Take(),
              "Capturing to " + m_Folder.PathOf("c.pcapng") + " ended: File too large\n");
    EXPECT_EQ(m_Folder.Read("c.pcapng").size(), whole);
}

TEST_F(LineCaptureTest, SaysWhyAFileCannotBeWritten) {
    const struct {
        std::string m_strPath;
        const char* m_szReason;
    } cases[] = {{m_Folder.Path(), "Is a directory"},
                 {m_Folder.PathOf("no/c.pcapng"), "No such file or directory"},
                 {"/dev/full", "No space left on device"}};
    for (const auto& c : cases) {
        CLineCapture capture;
        EXPECT_EQ(capture.Open(c.m_strPath, "", ""),
                  "Capture file cannot be written -- " + c.m_strPath + ": " + c.m_szReason);
        Play(capture, {"> " RESET, "< " DONE});
    }
}

}  // namespace
