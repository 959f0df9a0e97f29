#include "app/Information.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include "support/FakeSystem.h"

namespace {

std::string ListPorts(const CSystemFolders& folders) {
    char program[] = "hciload";
    char option[] = "--list-ports";
    char* argv[] = {program, option, nullptr};
    return MakeInformation(2, argv, "1.2.3", folders).value_or("");
}

TEST(Information, ListsThePortsOfTheMachine) {
    const CFakeSystem system;
    const auto port = [&](const char* name, const char* lasting, const char* driver,
                          const char* mode, const char* holders) {
        return system.PathOf(name) + "\n    lasting name  " + lasting + "\n    driver        " +
               driver + "\n    may open it   user " + getpwuid(geteuid())->pw_name + ", group " +
               getgrgid(getegid())->gr_name + " (" + mode + "), you\n    held by       " + holders +
               "\n";
    };
    const std::string lasting = system.PathOf("dev/serial/by-id/usb-A1");
    const char* const holder = "mini com (4711)";
    EXPECT_EQ(ListPorts(system.Folders()),
              port("dev/ttySIM", "-", "-", "rw-r-----", "-") +
                  port("dev/ttyUSB9", lasting.c_str(), "cdc_acm", "rw-rw----", holder) +
                  port("dev/ttyUSB10", "-", "cdc_acm", "rw-r-----", "-") +
                  port("dev/ttyBOARD1", lasting.c_str(), "cdc_acm", "rw-rw----", holder));
    EXPECT_EQ(ListPorts({"/no", "/no", "/no"}), "This machine has no serial port.\n");
}

}  // namespace
