#include "app/Hints.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <map>
#include <regex>

#include "support/CaseTable.h"
#include "support/FakeSystem.h"

namespace {

FailurePlaces PlaceOf(const std::string& name) {
    return name.ends_with("ommand line") ? FAILED_COMMAND_LINE
           : name.ends_with("port")      ? FAILED_PORT
                                         : FAILED_DOWNLOAD;
}

TEST(Hints, SayWhatToDo) {
    const CFakeSystem system;
    const std::map<std::string, int> errors = {
        {"", 0}, {"own", 0}, {"ENOENT", ENOENT}, {"EIO", EIO}, {"EACCES", EACCES}};
    const auto expanded = [&](std::string text) {
        for (const auto& [word, value] : std::vector<std::pair<std::string, std::string>>{
                 {"ALL", "this machine has DEV/ttySIM, DEV/ttyUSB9, DEV/ttyUSB10, DEV/ttyBOARD1"},
                 {"DEV", system.PathOf("dev")},
                 {"GROUP", getgrgid(getegid())->gr_name},
                 {" USER", std::string(" ") + getpwuid(geteuid())->pw_name}}) {
            text = std::regex_replace(text, std::regex(word), value);
        }
        return text;
    };
    for (const TABLE_CASE& c : ReadCaseTable(HCILOAD_TEST_DATA "/hints.txt", 5)) {
        const std::string hints =
            MakeHints({PlaceOf(c.fields[0]), c.fields[1], expanded(c.fields[2]),
                       errors.at(c.fields[3]), c.fields[3] == "own"},
                      system.Folders());
        EXPECT_EQ(hints.substr(0, hints.find("hint: more in ")),
                  c.fields[4].empty() ? "" : "hint: " + expanded(c.fields[4]) + "\n")
            << c.where;
    }
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
            // The three dots stand for any text.
            const std::string error = line.substr(5, line.rfind('`') - 5);
            EXPECT_NE(MakeHints({PlaceOf(section), error, "/dev/ttyX"}, system.Folders())
                          .find("troubleshooting.md, \"" + section + "\""),
                      std::string::npos)
                << line;
            ++count;
        }
    }
    EXPECT_GT(count, 40);
}

}  // namespace
