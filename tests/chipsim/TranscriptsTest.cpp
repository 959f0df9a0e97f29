#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "chipsim/ChipEngine.h"
#include "chipsim/ChipsimArguments.h"
#include "support/CaseFile.h"
#include "support/CommandLine.h"
#include "support/HexBytes.h"
#include "support/SampleImages.h"
#include "support/TempDir.h"

namespace {

std::string Parse(const std::string& line, CHIPSIM_ARGUMENTS& arguments) {
    CCommandLine words(line);
    return ParseChipsimArguments(words.Count(), words.Words(), arguments);
}

// " < +100ms 04 0E": pauses, bytes, or their number when there are many, and what else it does.
std::string ReplyText(const CHIP_REPLY& reply) {
    std::ostringstream text;
    text << " <";
    for (const CHIP_REPLY_PIECE& piece : reply.pieces) {
        if (piece.delayMs != 0) {
            text << " +" << piece.delayMs << "ms";
        }
        if (piece.bytes.size() > 300) {
            text << ' ' << piece.bytes.size() << " bytes";
        } else if (!piece.bytes.empty()) {
            text << ' ' << ToHex(piece.bytes);
        }
    }
    if (reply.readPauseMs != 0) {
        text << " reads nothing for " << reply.readPauseMs << "ms";
    }
    text << (reply.hangsUp ? " hangs up" : "");
    return text.str();
}

// The chip with its options, which decide how much of what it does is noted.
class CTranscript {
public:
    explicit CTranscript(const CHIPSIM_ARGUMENTS& arguments)
        : m_Arguments(arguments),
          m_Chip(arguments.settings, [this](const CHIP_COMMAND& command) { Note(command); }) {}

    void Send(const std::string& line) {
        const std::string bytes = line.substr(0, line.find_first_of("*=<"));
        m_strText += "> " + ToHex(FromHex(bytes));
        for (const CHIP_REPLY& reply : m_Chip.Receive(FromHex(bytes))) {
            m_strText += ReplyText(reply);
        }
        m_strText += "\n";
    }

    void LineGoesQuiet() {
        m_Chip.LineWentQuiet();
        m_strText += "Q\n";
    }

    const std::string& Finish() {
        EXPECT_FALSE(m_Chip.IsMidPacket());
        if (!m_Arguments.dumpFile.empty()) {
            m_strText += IntelHexText(m_Chip.Memory().WrittenRegions());
        }
        return m_strText;
    }

private:
    void Note(const CHIP_COMMAND& command) {
        if (m_Arguments.trace) {
            m_strText += " * " + DescribeChipCommand(command);
        }
        if (!m_Arguments.recordsFile.empty() && command.IsLoadedRecord()) {
            m_strText += " = " + ToHex(command.packet);
        }
    }

    const CHIPSIM_ARGUMENTS& m_Arguments;
    CChipEngine m_Chip;
    std::string m_strText;
};

// - OPTIONS of the chip
// > SENT [* TRACE] [= RECORD] [< REPLY]...
// Q, the line goes quiet
// | LINE of its memory as Intel HEX at the end
TEST(ChipTranscripts, AreWhatTheChipDoes) {
    for (const FILE_CASE& lines : ReadCases(CASES_FOLDER "/replies.txt")) {
        SCOPED_TRACE(lines.name);
        CHIPSIM_ARGUMENTS arguments;
        EXPECT_EQ(Parse("--seed 1 " + lines.Text("-") + " true", arguments), "");
        CTranscript transcript(arguments);
        std::string expected;
        for (const auto& [mark, text] : lines.lines) {
            if (mark == '>') {
                transcript.Send(text);
                expected += "> " + text + "\n";
            } else if (mark == 'Q') {
                transcript.LineGoesQuiet();
                expected += "Q\n";
            }
        }
        EXPECT_EQ(transcript.Finish(), expected + lines.Text("|"));
    }
}

// $ LINE [! ERROR]
TEST(ChipsimArguments, SayWhatIsWrongWithThem) {
    const CTempDir folder;
    std::filesystem::current_path(folder.Path());
    std::filesystem::create_hard_link(folder.Write("file", ""), "hardlink");
    for (const FILE_CASE& lines : ReadCases(CASES_FOLDER "/arguments.txt")) {
        for (const auto& [mark, text] : lines.lines) {
            const std::size_t end = std::min(text.find("! "), text.size());
            CHIPSIM_ARGUMENTS arguments;
            const std::string error = Parse(text.substr(0, end), arguments);
            EXPECT_EQ(text.substr(0, end) + (error.empty() ? "" : "! " + error), text)
                << lines.name;
        }
    }
}

}  // namespace
