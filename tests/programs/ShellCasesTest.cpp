#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "support/CaseFile.h"
#include "support/ProcessRun.h"
#include "support/SampleImages.h"
#include "support/SideBySide.h"

// Runs shell lines from files and compares what they print: the programs as their users meet them.
// The programs of the build and on-terminal are in the PATH, $EXAMPLES is the folder of the samples
// and $LARGE an Intel HEX file of 250,000 bytes.
//
//   + FILE     a file in the folder of the case, made of the | and x lines that follow
//   | TEXT     a line of that file
//   x HEX      bytes of that file
//   $ LINE     a line for the shell
//   > TEXT     a line of standard output
//   ! TEXT     a line of standard error
//   ? STATUS   the exit status, when it is not 0
//
// In what is printed, * stands for any text within a line and a line ... for any lines. Progress
// lines of a running download are left out, since they come when they come.

namespace {

// Both consist of whole lines.
bool Matches(std::string_view pattern, std::string_view text) {
    constexpr std::string_view ANY_LINES = "...\n";
    while (!pattern.empty() && pattern.front() != '*' && !pattern.starts_with(ANY_LINES)) {
        const std::size_t line = pattern.find('\n') + 1;
        const std::size_t count = std::min(pattern.find('*'), line);
        if (!text.starts_with(pattern.substr(0, count))) {
            return false;
        }
        pattern.remove_prefix(count);
        text.remove_prefix(count);
    }
    if (pattern.empty()) {
        return text.empty();
    }
    const bool isWithinLine = pattern.front() == '*';
    pattern.remove_prefix(isWithinLine ? 1 : ANY_LINES.size());
    while (!Matches(pattern, text)) {
        const std::size_t skip = isWithinLine ? 1 : text.find('\n') + 1;
        if (text.empty() || (isWithinLine && text.front() == '\n')) {
            return false;
        }
        text.remove_prefix(skip);
    }
    return true;
}

// Each line ends in a line feed.
std::string SettledLines(const std::string& text) {
    std::istringstream in(text);
    std::string rest;
    for (std::string line; std::getline(in, line);) {
        if (line.find("Current state: Executing") == std::string::npos &&
            line.find("Current state: Initialized") == std::string::npos) {
            rest += line + "\n";
        }
    }
    return rest;
}

void WriteFiles(const FILE_CASE& shellCase, const CTempDir& folder) {
    std::string name;
    for (const auto& [mark, text] : shellCase.lines) {
        if (mark == '+') {
            name = text;
        } else if (mark == '|') {
            folder.Write(name, folder.Read(name) + text + "\n");
        } else if (mark == 'x') {
            folder.Write(name, folder.Read(name) + TextFromHex(text));
        }
    }
}

void RunCase(const FILE_CASE& shellCase) {
    SCOPED_TRACE(shellCase.name);
    const CTempDir folder;
    WriteFiles(shellCase, folder);
    const PROCESS_RESULT result = RunProcess(folder, {"/bin/sh", "-c", shellCase.Text("$")}, 20);
    const std::string status = shellCase.Text("?");
    EXPECT_EQ(std::to_string(result.status) + "\n", status.empty() ? "0\n" : status) << result.err;
    EXPECT_TRUE(Matches(shellCase.Text(">"), SettledLines(result.out))) << result.out;
    EXPECT_TRUE(Matches(shellCase.Text("!"), SettledLines(result.err))) << result.err;
}

// The cases of all files in one go, since each of them mostly waits.
TEST(ShellCases, PrintWhatTheyMust) {
    const CTempDir folder;
    const std::string large = IntelHexText({{0x00500000, SampleBytes(250'000, 1)}});
    ::setenv("LARGE", folder.Write("large.hex", large).c_str(), 1);
    ::setenv("EXAMPLES", EXAMPLES_FOLDER, 1);
    ::setenv("PATH", (std::string(PROGRAMS_FOLDER ":" CASES_FOLDER ":") + ::getenv("PATH")).c_str(),
             1);
    std::vector<FILE_CASE> cases;
    for (const auto& file : std::filesystem::directory_iterator(CASES_FOLDER)) {
        if (file.path().extension() == ".txt" && file.path().filename() != "CMakeLists.txt") {
            const std::vector<FILE_CASE> more = ReadCases(file.path());
            cases.insert(cases.end(), more.begin(), more.end());
        }
    }
    EXPECT_GT(cases.size(), 5U);
    RunSideBySide(cases, RunCase);
}

}  // namespace
