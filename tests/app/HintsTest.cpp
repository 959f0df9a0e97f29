#include "app/Hints.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>

#include "support/FakeSystem.h"

namespace {

namespace fs = std::filesystem;

TEST(Hints, SayWhatToDoAndWhereToRead) {
    const CFakeSystem system;
    for (const char* port : {"ttyS1", "ttyS2", "ttyUSB0"}) {
        system.MakePort(port, nullptr);
    }
    system.Hold("4711", "ttyUSB0");
    const std::string dev = system.PathOf("dev/");
    const std::string free = dev + "ttyS1";
    const std::string held = dev + "ttyUSB0";
    fs::permissions(held, fs::perms(0660));
    const std::string all = "; this machine has " + free + ", " + dev + "ttyS2, " + held;
    const std::string group = getgrgid(getegid())->gr_name;
    const std::string cannotOpen = "failed to open port: x";
    const std::string gone = " went away during the download: is the adapter plugged in?";
    const std::string silent =
        "the chip did not answer: is it powered and in its download mode, are RX and TX crossed, "
        "is GND connected?";
    const struct {
        CFailure m_Failure;
        std::string m_strAdvice;
        std::string m_strSection;
    } cases[] = {
        {{FAILED_COMMAND_LINE, "Unrecognized command-line argument VNP", ""},
         "-VNP works only after -VINTORMODE, which must be the first argument",
         "The command line"},
        {{FAILED_COMMAND_LINE, "NA", ""}, "", "The command line"},
        {{FAILED_PORT, "", ""}, "give the chip's port with -PORT" + all, "The port"},
        {{FAILED_PORT, "Failed to recognize the connection transport", "COM3"},
         "names of ports start with /dev/tty" + all,
         "The port"},
        {{FAILED_PORT, "Failed to recognize the connection transport", system.PathOf("by-id")},
         "give this port as -PORT /dev/tty",
         "The port"},
        {{FAILED_PORT, cannotOpen, "/dev/ttyX", ENOENT},
         "/dev/ttyX is not there" + all,
         "The port"},
        {{FAILED_PORT, cannotOpen, held, EACCES},
         "you may not open " + held + ": join its group, sudo usermod -aG " + group +
             " \"$USER\", then log in again",
         "The port"},
        {{FAILED_PORT, cannotOpen, held, 0},
         held + " is held by mini (4711): end that first",
         "The port"},
        {{FAILED_PORT, cannotOpen, free, 0}, "another program has locked " + free, "The port"},
        {{FAILED_PORT, cannotOpen, free, EIO}, free + " has no hardware" + all, "The port"},
        {{FAILED_PORT, "Failed to start worker threads", free, 0}, "", "The port"},
        {{FAILED_DOWNLOAD, " VintorDownloadMinidriver failed!", free},
         silent,
         "Before the download"},
        {{FAILED_DOWNLOAD, "Failed to execute HCI Reset", held},
         "mini (4711) may take the chip's replies: " + held + " is open there, too",
         "Before the download"},
        {{FAILED_DOWNLOAD, "Failed to execute HCI Reset", "/dev/tty", 0, true},
         "/dev/tty is your own terminal, not the chip" + all,
         "Before the download"},
        {{FAILED_DOWNLOAD, "Download firmware error trying to write 3", free, EIO},
         free + gone,
         "Writing"},
        {{FAILED_DOWNLOAD, "Data overlap at address 0x00000000", held}, "", "The files"},
    };
    fs::create_symlink("/dev/tty", system.PathOf("by-id"));
    for (const auto& c : cases) {
        EXPECT_EQ(MakeHints(c.m_Failure, system.Folders()),
                  (c.m_strAdvice.empty() ? "" : "hint: " + c.m_strAdvice + "\n") +
                      "hint: more in docs/troubleshooting.md, \"" + c.m_strSection + "\"\n");
    }
    const CFakeSystem bare;
    EXPECT_EQ(MakeHints({FAILED_PORT, "", ""}, bare.Folders()),
              "hint: give the chip's port with -PORT; this machine has no serial port: is the "
              "adapter plugged in?\nhint: more in docs/troubleshooting.md, \"The port\"\n");
    fs::permissions(free, fs::perms(0600));
    EXPECT_TRUE(MakeHints({FAILED_PORT, cannotOpen, free, EPERM}, system.Folders())
                    .starts_with("hint: only user "));
}

// Each documented error text leads to the section that it stands in.
TEST(Hints, NameTheSectionOfTheError) {
    std::ifstream page(HCILOAD_TROUBLESHOOTING);
    const CFakeSystem system;
    std::string section;
    int count = 0;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("## ")) {
            section = line.substr(3, line.find(':') - 3);
        } else if (line.starts_with("### `") && section != "No error text, but") {
            const FailurePlaces place = section == "The command line" ? FAILED_COMMAND_LINE
                                        : section == "The port"       ? FAILED_PORT
                                                                      : FAILED_DOWNLOAD;
            // The three dots stand for any text.
            const std::string error = line.substr(5, line.rfind('`') - 5);
            EXPECT_NE(MakeHints({place, error, "/dev/ttyX"}, system.Folders())
                          .find("troubleshooting.md, \"" + section + "\""),
                      std::string::npos)
                << line;
            ++count;
        }
    }
    EXPECT_GT(count, 40);
}

}  // namespace
