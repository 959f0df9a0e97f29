#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "os/FileDescriptor.h"

namespace {

namespace fs = std::filesystem;

// The program with its output in files, in a folder of its own.
class ChipsimProgramTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string name = ::testing::TempDir() + "chipsimXXXXXX";
        ASSERT_NE(::mkdtemp(name.data()), nullptr);
        m_Folder = name;
    }
    void TearDown() override { fs::remove_all(m_Folder); }

    pid_t Start(std::vector<std::string> words) {
        words.insert(words.begin(), CHIPSIM_PROGRAM);
        std::vector<char*> argv;
        argv.reserve(words.size() + 1);
        for (std::string& word : words) {
            argv.push_back(word.data());
        }
        argv.push_back(nullptr);
        const std::string out = File("out");
        const std::string err = File("err");
        fs::remove(out);  // what an earlier run said is not to be waited for
        fs::remove(err);
        const pid_t pid = ::fork();
        if (pid == 0) {
            ::dup2(::open(out.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600), STDOUT_FILENO);
            ::dup2(::open(err.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600), STDERR_FILENO);
            ::execv(argv[0], argv.data());
            ::_exit(99);
        }
        return pid;
    }

    static int ExitStatus(pid_t pid) {
        int status = 0;
        ::waitpid(pid, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

    int Run(std::vector<std::string> words) { return ExitStatus(Start(std::move(words))); }
    std::string File(const char* name) const { return (m_Folder / name).string(); }
    std::string Text(const char* name) const {
        std::ostringstream text;
        text << std::ifstream(m_Folder / name).rdbuf();
        return text.str();
    }

    // Until the condition holds, or long enough to be sure that it never will.
    template <class CONDITION>
    static bool Eventually(CONDITION holds) {
        for (int i = 0; i < 1000 && !holds(); ++i) {
            ::usleep(10'000);
        }
        return holds();
    }

    fs::path m_Folder;
};

TEST_F(ChipsimProgramTest, PassesOnTheCommandsExitStatus) {
    struct CASE {
        std::vector<std::string> command;
        int status;
        std::string err;
    };
    const CASE cases[] = {
        {{"true"}, 0, ""},
        {{"sh", "-c", "exit 241"}, 241, ""},
        {{"sh", "-c", "kill -KILL $$"}, 128 + SIGKILL, ""},
        {{"sh", "-c", "kill -TERM $$"}, 128 + SIGTERM, ""},
        {{"/no/such/program"},
         127,
         "chipsim: cannot run /no/such/program: No such file or directory\n"},
        {{"/"}, 126, "chipsim: cannot run /: Permission denied\n"},
    };
    for (const CASE& c : cases) {
        std::vector<std::string> words = {"--"};
        words.insert(words.end(), c.command.begin(), c.command.end());
        EXPECT_EQ(Run(words), c.status) << c.command[0];
        EXPECT_EQ(Text("err"), c.err);
    }
}

TEST_F(ChipsimProgramTest, TheCommandReachesTheChipAsItsTerminal) {
    const std::string script =
        R"(printf '\001\003\014\000\001\114\374\010\000\000\040\000\001\002\012\377' >/dev/tty
           dd if=/dev/tty bs=1 count=14 2>/dev/null | od -An -tx1 -v
           echo done >&2)";
    EXPECT_EQ(Run({"--baud", "0", "--trace", "--dump=" + File("dump"), "--", "sh", "-c", script}),
              0);
    EXPECT_EQ(Text("out"), " 04 0e 04 01 03 0c 00 04 0e 04 01 4c fc 00\n");
    EXPECT_EQ(Text("err"),
              "chipsim: HCI Reset            length 0\n"
              "chipsim: Write RAM            address 0x00200000  length 4\n"
              "done\n");
    EXPECT_EQ(Text("dump"), ":020000040020DA\n:0400000001020AFFF0\n:00000001FF\n");
}

TEST_F(ChipsimProgramTest, DumpsTheRecordsThatArrived) {
    const std::string script =
        R"(printf '\020\077\056\001\006\020\057\056\001\007' >/dev/tty
           dd if=/dev/tty bs=1 count=16 2>/dev/null | od -An -tx1 -v)";
    EXPECT_EQ(Run({"--dump-records", File("records"), "--reset-ntf-delay=1", "--trace", "--", "sh",
                   "-c", script}),
              0);
    EXPECT_EQ(Text("out"), " 10 4f 2e 01 00 10 6f 2e 01 00 10 60 00 02 00 01\n");
    EXPECT_EQ(Text("err"),
              "chipsim: Signature record     length 2  segments 2\n"
              "chipsim: Reset notification   length 2\n");
    EXPECT_EQ(Text("records"), std::string("\x10\x2F\x2E\x02\x06\x07"));
}

TEST_F(ChipsimProgramTest, ASignalGoesToTheCommandAndTheDumpIsStillWritten) {
    const pid_t pid = Start({"--dump", File("dump"), "--", "sh", "-c", "echo up; exec sleep 100"});
    ASSERT_TRUE(Eventually([&] { return Text("out") == "up\n"; }));
    ::kill(pid, SIGINT);
    EXPECT_EQ(ExitStatus(pid), 128 + SIGINT);
    EXPECT_EQ(Text("dump"), ":00000001FF\n");
}

TEST_F(ChipsimProgramTest, ALinkIsServedUntilStopped) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        const std::string link = File("port");
        const pid_t pid = Start({"--link", link, "--dump", File("dump")});
        ASSERT_TRUE(
            Eventually([&] { return Text("err") == "chipsim: the chip is at " + link + "\n"; }));
        const CFileDescriptor port(::open(link.c_str(), O_RDWR | O_NOCTTY));
        const std::array<unsigned char, 9> packet = {1, 0x4C, 0xFC, 5, 0x10, 0, 0, 0, 0x42};
        ASSERT_EQ(::write(port.Get(), packet.data(), packet.size()), 9);
        std::array<unsigned char, 7> answer{};
        for (std::size_t got = 0; got < answer.size();) {
            got += static_cast<std::size_t>(::read(port.Get(), &answer[got], answer.size() - got));
        }
        ::kill(pid, number);
        EXPECT_EQ(ExitStatus(pid), 0);
        EXPECT_FALSE(fs::is_symlink(link));
        EXPECT_EQ(Text("dump"), ":0100100042AD\n:00000001FF\n");
    }
}

TEST_F(ChipsimProgramTest, FaultsComeFromOptionsAndFilesAndAreTraced) {
    std::ofstream(File("faults")) << "# the second reset\n\n  reset:2:cut=3 \r\n";
    const std::string script =
        R"(printf '\001\003\014\000\001\003\014\000' >/dev/tty
           dd if=/dev/tty bs=1 count=10 2>/dev/null | od -An -tx1 -v)";
    EXPECT_EQ(Run({"--trace", "--faults", File("faults"), "--fault=reset:1:status=5", "--fault",
                   "write:1%:flip", "--seed=7", "--", "sh", "-c", script}),
              0);
    EXPECT_EQ(Text("out"), " 04 0e 04 01 03 0c 05 04 0e 04\n");
    EXPECT_EQ(Text("err"),
              "chipsim: seed 7\n"
              "chipsim: HCI Reset            length 0  fault reset:1:status=5\n"
              "chipsim: HCI Reset            length 0  fault reset:2:cut=3\n");
}

TEST_F(ChipsimProgramTest, APortThatHangsUpEndsItsReadsAndNotTheCommand) {
    const std::string script =
        R"(exec 3<>/dev/tty; printf '\001\003\014\000' >&3
           od -An -tx1 -v <&3 2>/dev/null; exit 5)";
    EXPECT_EQ(Run({"--fault", "any:1:hangup=2", "--", "sh", "-c", script}), 5);
    EXPECT_EQ(Text("out"), " 04 0e\n");

    const std::string link = File("port");
    const pid_t pid = Start({"--link", link, "--fault", "any:1:hangup"});
    ASSERT_TRUE(Eventually([&] { return Text("err").ends_with(link + "\n"); }));
    std::ofstream(link).write("\001\003\014\000", 4);
    EXPECT_EQ(ExitStatus(pid), 0);
    EXPECT_FALSE(fs::is_symlink(link));
}

TEST_F(ChipsimProgramTest, WrongUsageIsOneLineAndStatus2) {
    struct CASE {
        std::vector<std::string> words;
        const char* err;
    };
    const CASE cases[] = {
        {{}, "no command to run, and no --link to serve (see chipsim --help)"},
        {{"--"}, "no command to run, and no --link to serve (see chipsim --help)"},
        {{"--link", "x", "--", "true"}, "--link and a command exclude each other"},
        {{"--frob"}, "unknown option '--frob'"},
        {{"--frob=3"}, "unknown option '--frob'"},
        {{"--trace=3"}, "option '--trace' takes no value"},
        {{"--baud"}, "option '--baud' needs a number of bits per second"},
        {{"--baud", "fast"}, "option '--baud' needs a number of bits per second, not 'fast'"},
        {{"--baud=-1"}, "option '--baud' needs a number of bits per second, not '-1'"},
        {{"--baud="}, "option '--baud' needs a number of bits per second, not ''"},
        {{"--ram", "5"}, "option '--ram' needs two addresses, FIRST-LAST, not '5'"},
        {{"--ram", "9-5"}, "option '--ram' needs two addresses, FIRST-LAST, not '9-5'"},
        {{"--ram", "0-0x100000000"},
         "option '--ram' needs two addresses, FIRST-LAST, not '0-0x100000000'"},
        {{"--seed", "x"}, "option '--seed' needs a number, not 'x'"},
        {{"--fault", "write:1:frob"}, "fault 'write:1:frob': no such fault 'frob'"},
        {{"--faults", "/no/such/file"}, "cannot read /no/such/file"},
        {{"--dump="}, "option '--dump' needs a file name, not ''"},
    };
    for (const CASE& c : cases) {
        EXPECT_EQ(Run(c.words), 2);
        EXPECT_EQ(Text("err"), std::string("chipsim: ") + c.err + "\n");
        EXPECT_EQ(Text("out"), "");
    }
}

TEST_F(ChipsimProgramTest, ItsOwnFailuresEndWithStatus1BeforeTheCommandRuns) {
    EXPECT_EQ(Run({"--dump", "/no/such/folder/dump", "--", "echo", "ran"}), 1);
    EXPECT_EQ(Text("err"), "chipsim: cannot write /no/such/folder/dump\n");
    EXPECT_EQ(Text("out"), "");
    EXPECT_EQ(Run({"--link", "/no/such/folder/port"}), 1);
    EXPECT_EQ(Text("err"),
              "chipsim: cannot make the link /no/such/folder/port: No such file or directory\n");
}

}  // namespace
