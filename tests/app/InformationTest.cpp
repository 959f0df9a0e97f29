#include "app/Information.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <filesystem>

#include "support/FakeSystem.h"

namespace {

namespace fs = std::filesystem;

std::optional<std::string> Information(std::vector<std::string> words, const CFakeSystem& system) {
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    return MakeInformation(static_cast<int>(words.size()), argv.data(), "1.2.3", system.Folders());
}

TEST(Information, ListsThePortsOfTheMachine) {
    const CFakeSystem system;
    EXPECT_EQ(Information({"", "--list-ports"}, system), "This machine has no serial port.\n");
    for (const char* folder :
         {"dev/serial/by-id", "dev/pts", "sys/devices/port:0.0", "sys/class/tty/tty1"}) {
        fs::create_directories(system.PathOf(folder));
    }
    fs::create_symlink("/bus/serial-base", system.PathOf("sys/devices/port:0.0/subsystem"));
    fs::create_symlink("/drivers/port", system.PathOf("sys/devices/port:0.0/driver"));
    fs::create_symlink("/drivers/cdc_acm", system.PathOf("sys/devices/driver"));
    system.Write("dev/tty1", "");
    system.MakePort("ttyUSB10", nullptr);
    system.MakePort("ttyUSB9", "4");
    system.MakePort("ttyS0", "0");
    fs::create_symlink("../../ttyUSB9", system.PathOf("dev/serial/by-id/usb-A1"));
    fs::create_symlink("ttyUSB9", system.PathOf("dev/ttyBOARD1"));
    fs::create_symlink("gone", system.PathOf("dev/ttyGONE"));
    system.Hold("4711", "ttyUSB10");
    system.Hold("self", "ttyUSB10");
    // A simulated chip, which holds both ends of its port.
    system.Write("dev/pts/7", "");
    fs::permissions(system.PathOf("dev/pts/7"), fs::perms(0640));
    fs::create_symlink("pts/7", system.PathOf("dev/ttySIM"));
    system.Hold("42", "pts/7");
    system.Hold("42", "ptmx");
    system.Hold("12", "ttyUSB1");

    const std::string access =
        std::string("\n    may open it   user ") + getpwuid(geteuid())->pw_name + ", group " +
        getgrgid(getegid())->gr_name + " (rw-r-----), you\n    held by       ";
    const std::string driver = "\n    driver        cdc_acm" + access;
    const std::string lasting = "\n    lasting name  " + system.PathOf("dev/serial/by-id/usb-A1");
    const std::string none = "\n    lasting name  -";
    EXPECT_EQ(Information({"", "--list-ports"}, system),
              system.PathOf("dev/ttySIM") + none + "\n    driver        -" + access + "-\n" +
                  system.PathOf("dev/ttyUSB9") + lasting + driver + "-\n" +
                  system.PathOf("dev/ttyUSB10") + none + driver + "mini com (4711)\n" +
                  system.PathOf("dev/ttyBOARD1") + lasting + driver + "-\n");
}

}  // namespace
