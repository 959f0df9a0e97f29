// What the program says and returns when there is no download to speak of.

#include <gmock/gmock.h>

#include "support/ProcessRun.h"

namespace {

using testing::EndsWith;
using testing::StartsWith;

TEST(CommandLine, EndsWithAStatusForEachKindOfFailure) {
    const struct {
        std::vector<std::string> m_Words;
        int m_nStatus;
        std::string m_strErrorStart;
        std::string m_strErrorEnd;
    } cases[] = {
        {{},
         254,
         "Calling format (2 variations): \n either\n    " HCILOAD_PROGRAM " -RULES rulefile",
         "\n\n\n\nError creating a transport connection ()   \n"},
        {{"-PORT", "/dev/ttyS0", "COM3"},
         255,
         "ERROR! Unexpected argument COM3\n\n\nCalling format",
         "\n\n\n\nError processing command-line arguments: Unexpected argument COM3\n"},
        {{"-RULES", "/nowhere.vnp"},
         255,
         "ERROR! NA\n\n\nCalling format",
         "\n\n\n\nError processing command-line arguments: NA\n"},
        {{"-PORT", "COM3", "-BAUDRATE", "9600nfc"},
         254,
         "Error creating a transport connection ( PORT=COM3\n RTS=1\n  CTS=0\n  "
         "NOFLOWCONTROL=1\n BAUDRATE=9600\n)   Failed to recognize the connection transport\n",
         ""},
        {{"-VINTORMODE", "-PORT", "/dev/ttyNOSUCHPORT"},
         254,
         "Error creating a transport connection ( PORT=/dev/ttyNOSUCHPORT\n)   failed to open "
         "port: /dev/ttyNOSUCHPORT\n",
         ""},
    };
    for (const auto& c : cases) {
        std::vector<std::string> words = {HCILOAD_PROGRAM};
        words.insert(words.end(), c.m_Words.begin(), c.m_Words.end());
        const CTempDir folder;
        const PROCESS_RESULT result = RunProcess(folder, words);
        EXPECT_EQ(result.status, c.m_nStatus);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, StartsWith(c.m_strErrorStart));
        EXPECT_THAT(result.err, EndsWith(c.m_strErrorEnd));
    }
}

}  // namespace
