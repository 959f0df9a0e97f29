#include <gtest/gtest.h>

#include "support/HexRecord.h"
#include "support/ProcessRun.h"

// The program as a whole, called in ways that nobody means.

namespace {

constexpr int COMMAND_LINE_ERROR = 255;
constexpr int NO_TRANSPORT = 254;
constexpr int DOWNLOAD_ERROR = 241;

struct BAD_CALL {
    std::vector<std::string> words;
    int status;
    std::string message;  // the last line on standard error
};

TEST(BadProgramInputTest, EndsWithOneClearText) {
    const CTempDir folder;
    const std::string longName(100000, 'x');
    const BAD_CALL calls[] = {
        {{""}, COMMAND_LINE_ERROR, "Unexpected argument "},
        {{"%s%n"}, COMMAND_LINE_ERROR, "Unexpected argument %s%n"},
        {{"-"}, COMMAND_LINE_ERROR, "Unrecognized command-line argument "},
        {{"-%s%n"}, COMMAND_LINE_ERROR, "Unrecognized command-line argument %S%N"},
        {{"-\xC3\xBC"}, COMMAND_LINE_ERROR, "Unrecognized command-line argument \xC3\xBC"},
        {{"-FIRMWARE"}, COMMAND_LINE_ERROR, "Firmware file not found -- "},
        {{"-FIRMWARE", folder.Path()},
         COMMAND_LINE_ERROR,
         "Firmware file not found -- " + folder.Path()},
        {{"-CONFIG", "100%n %s.hex"}, COMMAND_LINE_ERROR, "Config file not found -- 100%n %s.hex"},
        {{"-MINIDRIVER", longName}, COMMAND_LINE_ERROR, "Minidriver file not found -- " + longName},
        {{"-RULES", "%s@%n"}, COMMAND_LINE_ERROR, "NA"},
        {{"-RULES", "/proc/self/mem"}, COMMAND_LINE_ERROR, "NA"},
        {{"-DLMINIDRIVERCHUNKSIZE", "%n"},
         COMMAND_LINE_ERROR,
         "Invalid UINT value for DLMINIDRIVERCHUNKSIZE argument %n"},
        {{"-PORT", "/%s%n"}, NO_TRANSPORT, ""},
        {{"-PORT", longName}, NO_TRANSPORT, ""},
        {{"-PORT", "", "-BAUDRATE", "%s%n"}, NO_TRANSPORT, ""},
    };
    for (const BAD_CALL& call : calls) {
        std::vector<std::string> words = call.words;
        words.insert(words.begin(), HCILOAD_PROGRAM);
        const PROCESS_RESULT result = RunProcess(folder, words);
        const std::string name = call.words[0] + " " + call.words.back().substr(0, 80);
        EXPECT_EQ(result.status, call.status) << name;
        EXPECT_EQ(result.out, "") << name;
        EXPECT_LT(result.seconds, 30) << name;
        if (call.status == COMMAND_LINE_ERROR) {
            const std::string line =
                "Error processing command-line arguments: " + call.message + "\n";
            EXPECT_TRUE(result.err.ends_with(line)) << name << "\n" << result.err.substr(0, 300);
        } else {
            EXPECT_TRUE(result.err.starts_with("Error creating a transport connection ("))
                << name << "\n"
                << result.err.substr(0, 300);
        }
    }
}

PROCESS_RESULT Download(const CTempDir& folder, const std::string& firmware,
                        const std::string& log) {
    return RunProcess(folder, {CHIPSIM_PROGRAM, "--", HCILOAD_PROGRAM, "-VINTORMODE", "-PORT",
                               "/dev/tty", "-FIRMWARE", firmware, "-LOGTO", log});
}

TEST(BadProgramInputTest, NamesMayHoldAnything) {
    for (const std::string name : {"two words", "'single' \"double\"", "100%n%s%1000000d",
                                   "\xC3\xBC\xE2\x82\xAC", "a=b#c;d$HOME`e`"}) {
        const CTempDir folder;
        const std::string firmware =
            folder.Write(name + ".hex", HexRecord(0, 0x1000, {1, 2, 3}) + HEX_END_RECORD);
        const PROCESS_RESULT result = Download(folder, firmware, folder.PathOf(name + ".log"));
        EXPECT_EQ(result.status, 0) << name << "\n" << result.err;
        EXPECT_NE(result.out.find("A total of 1 contiguous memory areas"), std::string::npos);
        EXPECT_NE(folder.Read(name + ".log").find(firmware), std::string::npos) << name;
    }
}

TEST(BadProgramInputTest, ABadFileEndsTheDownloadBeforeItBegins) {
    const CTempDir folder;
    const std::pair<std::string, std::string> files[] = {
        {folder.Write("empty", ""), "Invalid file format: "},
        {folder.Write("binary", std::string("\xFF\x00\x10%n\n", 6)),
         "Invalid file format: Invalid intel hex data format: "},
        {folder.Write("percent", "%s%s%n%n%n%n\n"),
         "Invalid file format: Invalid intel hex data format: ValidateIntelHexLine: Unexpected "
         "starting character: %s%s%n%n%n%n"},
        {"/proc/self/mem", "Invalid file format: Failed to read intel hex data: "},
    };
    for (const auto& [path, message] : files) {
        const PROCESS_RESULT result = Download(folder, path, folder.Path());
        EXPECT_EQ(result.status, DOWNLOAD_ERROR) << path;
        EXPECT_NE(result.err.find(message), std::string::npos) << path << "\n" << result.err;
    }
}

}  // namespace
