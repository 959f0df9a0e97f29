#include "transport/LineCapture.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <chrono>
#include <csignal>
#include <optional>
#include <random>
#include <thread>

#include "support/CaptureReader.h"
#include "support/CaseFile.h"
#include "support/TempDir.h"
#include "util/ByteOrder.h"

namespace {

using namespace std::chrono_literals;

// The steps are those of captures.txt.
void Play(CLineObserver& observer, const std::string& steps) {
    for (const std::string& step : Split(steps, "; ")) {
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
    std::string Capture(const std::string& steps, const std::string& name) {
        CLineCapture capture;
        EXPECT_EQ(capture.Open(m_Folder.PathOf(name), "hciload 1.0", "/dev/ttyS0"), "");
        Play(capture, steps);
        return m_Folder.Read(name);
    }

    CTempDir m_Folder;
};

TEST_F(LineCaptureTest, CutsWhatTheChipSendsIntoPackets) {
    for (const FILE_CASE& line : ReadCases(HCILOAD_TEST_DATA "/captures.txt")) {
        std::string items;
        for (const std::string& item :
             CCaptureReader(Capture(line.Text("$"), "c.pcapng")).m_Items) {
            items += (items.empty() ? "" : "; ") + item;
        }
        EXPECT_EQ(items + "\n", line.Text("=")) << line.name;
    }
}

TEST_F(LineCaptureTest, NamesProgramAndPortAndTellsTheTime) {
    const std::uint64_t before = Now();
    const std::string longNote(70000, 'x');
    const CCaptureReader content(
        Capture("# Initialized; < 04 0E; > 01 03 0C 00; ~; # " + longNote, "c.cap"));
    EXPECT_EQ(content.m_strProgram, "hciload 1.0");
    EXPECT_THAT(content.m_Interfaces, testing::ElementsAre("201 /dev/ttyS0", "147 /dev/ttyS0"));
    EXPECT_EQ(content.m_Items.back(), "1 # " + longNote.substr(0, 65532));
    EXPECT_GE(content.m_Times.front(), before);
    EXPECT_LE(content.m_Times.back(), Now());
    EXPECT_TRUE(std::ranges::is_sorted(content.m_Times));
    EXPECT_GE(content.m_Times.back() - *(content.m_Times.end() - 2), 60'000'000U);
}

TEST_F(LineCaptureTest, WritesBtsnoopToAFileOfThatName) {
    const std::uint64_t before = Now();
    std::string file =
        Capture("# x; > 01 03 0C 00; < 55 04 0E 04 01 03 0C 00; > 10 2F", "c.btsnoop");
    ASSERT_EQ(file.size(), 16U + 24 + 4 + 24 + 7);
    for (const std::size_t at : {32U, 60U}) {
        const auto* time = reinterpret_cast<const unsigned char*>(&file[at]);
        const auto ns = (CopyByteBufferToUint64(time) - 0x00DCDDB30F2F8000) * 1000;
        EXPECT_LE(before / 1000 * 1000, ns);
        EXPECT_LE(ns, Now());
        file.replace(at, 8, "TTTTTTTT");
    }
    EXPECT_EQ(ToHex({file.begin(), file.end()}),
              "62 74 73 6E 6F 6F 70 00 00 00 00 01 00 00 03 EA "
              "00 00 00 04 00 00 00 04 00 00 00 02 00 00 00 00 54 54 54 54 54 54 54 54 01 03 0C 00 "
              "00 00 00 07 00 00 00 07 00 00 00 03 00 00 00 00 54 54 54 54 54 54 54 54 "
              "04 0E 04 01 03 0C 00");
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
    std::thread host([&] {
        for (int i = 0; i < 1000; ++i) {
            Play(*capture, "> 01 03 0C 00");
        }
    });
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
    EXPECT_EQ(std::ranges::count(content.m_Items, "0 > 01 03 0C 00"), 1000);
    EXPECT_GT(std::ranges::count(content.m_Items, "0 < 04 0E 03 01 4C FC"), 1990);
    EXPECT_TRUE(std::ranges::is_sorted(content.m_Times));
}

TEST_F(LineCaptureTest, AFullDiskEndsTheCaptureWithOneWarning) {
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, SIG_IGN);
    testing::internal::CaptureStderr();
    CLineCapture capture;
    const std::string path = m_Folder.PathOf("c.pcapng");
    ASSERT_EQ(capture.Open(path, "", ""), "");
    Play(capture, "> 01 03 0C 00");
    const std::size_t whole = m_Folder.Read("c.pcapng").size();
    const rlimit limit = {whole + 10, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
    Play(capture, "< 04 FF 01 CE; > 01 03 0C 00");
    setrlimit(RLIMIT_FSIZE, &before);
    Play(capture, "> 01 03 0C 00");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Capturing to " + path + " ended: File too large\n");
    EXPECT_EQ(m_Folder.Read("c.pcapng").size(), whole);
}

TEST_F(LineCaptureTest, SaysWhyAFileCannotBeWritten) {
    const std::pair<std::string, const char*> cases[] = {
        {m_Folder.Path(), "Is a directory"},
        {m_Folder.PathOf("no/c.pcapng"), "No such file or directory"},
        {"/dev/full", "No space left on device"}};
    for (const auto& [path, reason] : cases) {
        CLineCapture capture;
        EXPECT_EQ(capture.Open(path, "", ""),
                  "Capture file cannot be written -- " + path + ": " + reason);
        Play(capture, "> 01 03 0C 00; < 04 FF 01 CE");
    }
}

}  // namespace
