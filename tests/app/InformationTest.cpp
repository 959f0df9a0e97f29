#include "app/Information.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <filesystem>

#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;

std::optional<std::string> Information(std::vector<std::string> words, const CTempDir& system) {
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    return MakeInformation(static_cast<int>(words.size()), argv.data(), "1.2.3",
                           {system.PathOf("dev"), system.PathOf("sys"), system.PathOf("proc")});
}

// Files stand for the device nodes, which only root could make.
void MakePort(const CTempDir& system, const std::string& name, const char* type) {
    system.Write("dev/" + name, "");
    fs::permissions(system.PathOf("dev/" + name), fs::perms(0640));
    const std::string entry = system.PathOf("sys/class/tty/" + name);
    fs::create_directories(entry);
    fs::create_directory_symlink(system.PathOf("sys/devices/port:0.0"), entry + "/device");
    if (type != nullptr) {
        system.Write("sys/class/tty/" + name + "/type", std::string(type) + "\n");
    }
}

void Hold(const CTempDir& system, const std::string& process, const std::string& device) {
    fs::create_directories(system.PathOf("proc/" + process + "/fd"));
    system.Write("proc/" + process + "/comm", "mini com\n");
    fs::create_symlink(system.PathOf("dev/" + device), system.PathOf("proc/" + process + "/fd/9"));
}

TEST(Information, ListsThePortsOfTheMachine) {
    const CTempDir system;
    EXPECT_EQ(Information({"", "--list-ports"}, system), "This machine has no serial port.\n");
    for (const char* folder : {"dev/serial/by-id", "sys/devices/port:0.0", "sys/class/tty/tty1"}) {
        fs::create_directories(system.PathOf(folder));
    }
    fs::create_symlink("/bus/serial-base", system.PathOf("sys/devices/port:0.0/subsystem"));
    fs::create_symlink("/drivers/port", system.PathOf("sys/devices/port:0.0/driver"));
    fs::create_symlink("/drivers/cdc_acm", system.PathOf("sys/devices/driver"));
    system.Write("dev/tty1", "");
    MakePort(system, "ttyUSB10", nullptr);
    MakePort(system, "ttyUSB9", "4");
    MakePort(system, "ttyS0", "0");
    fs::create_symlink("../../ttyUSB9", system.PathOf("dev/serial/by-id/usb-A1"));
    fs::create_symlink("ttyUSB9", system.PathOf("dev/ttyBOARD1"));
    fs::create_symlink("gone", system.PathOf("dev/ttyGONE"));
    Hold(system, "4711", "ttyUSB10");
    Hold(system, "self", "ttyUSB10");
    Hold(system, "12", "ttyUSB1");

    const std::string access = std::string("\n    driver        cdc_acm\n    may open it   user ") +
                               getpwuid(geteuid())->pw_name + ", group " +
                               getgrgid(getegid())->gr_name + " (rw-r-----)\n    held by       ";
    const std::string lasting = "\n    lasting name  " + system.PathOf("dev/serial/by-id/usb-A1");
    EXPECT_EQ(Information({"", "--list-ports"}, system),
              system.PathOf("dev/ttyUSB9") + lasting + access + "-\n" +
                  system.PathOf("dev/ttyUSB10") + "\n    lasting name  -" + access +
                  "mini (4711)\n" + system.PathOf("dev/ttyBOARD1") + lasting + access + "-\n");
}

TEST(Information, IsGivenToAnOptionThatStandsAloneAndIsWrittenExactlySo) {
    const CTempDir system;
    EXPECT_EQ(Information({"", "--version"}, system), "hciload 1.2.3\n");
    for (const std::vector<std::string>& words : {std::vector<std::string>{""},
                                                  {"", "--Version"},
                                                  {"", "-help"},
                                                  {"", "/version"},
                                                  {"", "--version", ""},
                                                  {"", "x", "--list-ports"}}) {
        EXPECT_EQ(Information(words, system), std::nullopt) << words.back();
    }
}

}  // namespace
