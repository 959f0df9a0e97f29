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
    for (const char* folder : {"dev/serial/by-id", "sys/devices/port:0.0", "sys/class/tty/tty1"}) {
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
    system.Hold("12", "ttyUSB1");

    const std::string access = std::string("\n    driver        cdc_acm\n    may open it   user ") +
                               getpwuid(geteuid())->pw_name + ", group " +
                               getgrgid(getegid())->gr_name +
                               " (rw-r-----), you\n    held by       ";
    const std::string lasting = "\n    lasting name  " + system.PathOf("dev/serial/by-id/usb-A1");
    EXPECT_EQ(Information({"", "--list-ports"}, system),
              system.PathOf("dev/ttyUSB9") + lasting + access + "-\n" +
                  system.PathOf("dev/ttyUSB10") + "\n    lasting name  -" + access +
                  "mini com (4711)\n" + system.PathOf("dev/ttyBOARD1") + lasting + access + "-\n");
}

}  // namespace
