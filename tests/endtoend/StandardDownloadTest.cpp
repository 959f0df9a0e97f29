// Whole downloads by the program itself into the simulated chip.

#include <gmock/gmock.h>

#include <filesystem>
#include <map>

#include "endtoend/ProgramRun.h"
#include "support/SampleImages.h"

namespace {

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::MatchesRegex;

using Texts = std::vector<std::string>;

const Texts STANDARD = {"-VINTORMODE", "-PORT", "/dev/tty", "-BAUDRATE", "115200"};

Texts With(Texts words, const Texts& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

CHIP_SETTINGS Quick() {
    CHIP_SETTINGS settings;
    settings.baud = 0;
    settings.eraseTimeMs = 60;
    return settings;
}

std::string WithoutBlanks(std::string text) {
    std::erase(text, ' ');
    return text;
}

std::string LittleEndian(unsigned int value) {
    return ToHex({static_cast<unsigned char>(value), static_cast<unsigned char>(value >> 8),
                  static_cast<unsigned char>(value >> 16),
                  static_cast<unsigned char>(value >> 24)});
}

std::string OneByte(std::size_t value) {
    return ToHex({static_cast<unsigned char>(value)});
}

// The frames that write or read a range back in records of so many bytes.
std::string Frames(const char* opcode, const CSampleRange& range, std::size_t recordSize) {
    const bool writes = std::string(opcode) == "4C FC";
    std::string frames;
    for (std::size_t done = 0; done < range.m_Data.size(); done += recordSize) {
        const auto first = range.m_Data.begin() + static_cast<std::ptrdiff_t>(done);
        const std::size_t count = std::min(recordSize, range.m_Data.size() - done);
        frames += " 01 " + std::string(opcode) + " " + (writes ? OneByte(count + 4) : "05") + " " +
                  LittleEndian(range.m_nAddress + static_cast<unsigned int>(done)) + " " +
                  (writes ? ToHex(Bytes(first, first + static_cast<std::ptrdiff_t>(count)))
                          : OneByte(count));
    }
    return frames;
}

std::string CRCFrame(const CSampleRange& range) {
    return " 01 CC FC 08 " + LittleEndian(range.m_nAddress) + " " +
           LittleEndian(static_cast<unsigned int>(range.m_Data.size()));
}

// Progress lines of a download that is still under way come when they come.
Texts WithoutEarlyProgress(const CProgramResult& result) {
    Texts lines = result.Texts();
    std::erase_if(lines, [](const std::string& line) {
        return line.find("Current state: Executing") != std::string::npos ||
               line.find("Current state: Initialized") != std::string::npos;
    });
    return lines;
}

// The chip keeps what is written from 00200000 on through an erase: the minidriver runs there.
const CSampleRange MINIDRIVER = {0x00200000, SampleBytes(70, 1)};
const CSampleRange CODE_LOW = {0x08000000, SampleBytes(100, 2)};
const CSampleRange CODE_HIGH = {0x08010000, SampleBytes(10, 3)};
const CSampleRange DATA = {0xFFFFFFE0U, SampleBytes(32, 4)};
constexpr unsigned int START = 0x08000001;

constexpr char BOARD_VNP[] =
    "DevicePreset = \"Other\"\n"
    "DLConfigTargeting = RAM\n"
    "DLMaxWriteSize = 1\n"
    "DevicePreset = \"Board\"\n"
    "DLConfigTargeting = \"Serial flash\"\n"
    "DLMaxWriteSize = 48\n"
    "DLSectorEraseMode = Chip erase\n"
    "DLWriteVerifyMode = Write & verify\n"
    "CustomVintorPreloadMessages = { 01 03 0C 00 } { 0E 04 01 03 0C 00 } { 200 }\n";

// Files of every kind, in a folder of their own.
struct CSampleFiles {
    CSampleFiles() {
        m_Folder.Write("md.hex", IntelHexText({MINIDRIVER}));
        m_Folder.Write("fw.hex", IntelHexText({CODE_LOW, CODE_HIGH}));
        m_Folder.Write("cfg.hcd", HcdFile({DATA}, START));
        m_Folder.Write("board.vnp", BOARD_VNP);
    }

    CTempDir m_Folder;
};

TEST(StandardDownload, DoesEverythingInOneRun) {
    const CSampleFiles files;
    files.m_Folder.Write("DLTIMES.TXT", "an older line\n");
    CSimulatedChip chip(Quick());
    chip.WriteMemory(0x1000, Bytes(16, 0x77));  // the erase takes this away
    ASSERT_EQ(chip.Start(), "");
    const CProgramResult result =
        CProgramRun(chip, files.m_Folder)
            .Run(With(STANDARD, {"-VNP", "board.vnp@Board", "-MINIDRIVER", "md.hex", "-CONFIG",
                                 "cfg.hcd", "-FIRMWARE", "fw.hex", "-CHECKCRC", "-RECORDDLTIME",
                                 "-LOGTO", "log_TIMESTAMP.txt", "-DLMINIDRIVERCHUNKSIZE", "32"}));
    chip.Stop();

    EXPECT_EQ(result.m_nStatus, 0);
    EXPECT_EQ(result.m_strErrors, "");
    EXPECT_EQ(
        WithoutBlanks(ToHex(chip.ReceivedBytes())),
        WithoutBlanks("01 03 0C 00 01 2E FC 00 01 03 0C 00" + Frames("4C FC", MINIDRIVER, 32) +
                      " 01 4E FC 04 00 00 20 00" + " 01 CE FF 04 EF EE BE FC" +  //
                      Frames("4C FC", CODE_LOW, 48) + CRCFrame(CODE_LOW) +       //
                      Frames("4C FC", CODE_HIGH, 48) + CRCFrame(CODE_HIGH) +     //
                      Frames("4C FC", DATA, 48) + CRCFrame(DATA) +               //
                      Frames("4D FC", CODE_LOW, 48) +                            //
                      Frames("4D FC", CODE_HIGH, 48) + Frames("4D FC", DATA, 48) +
                      " 01 4E FC 04 01 00 00 08"));

    std::map<unsigned int, Bytes> memory;
    for (const CSparseMemory::REGION& region : chip.WrittenRegions()) {
        memory[region.address] = region.bytes;
    }
    const std::map<unsigned int, Bytes> expectedMemory = {
        {MINIDRIVER.m_nAddress, MINIDRIVER.m_Data},
        {CODE_LOW.m_nAddress, CODE_LOW.m_Data},
        {CODE_HIGH.m_nAddress, CODE_HIGH.m_Data},
        {DATA.m_nAddress, DATA.m_Data}};
    EXPECT_EQ(memory, expectedMemory);

    const auto bytes = [](const CSampleRange& range, std::ptrdiff_t first, std::ptrdiff_t count) {
        return ToHex(Bytes(range.m_Data.begin() + first, range.m_Data.begin() + first + count));
    };
    const std::string allDone =
        "Downloaded 110 code bytes (100.0%) and 32 data bytes (100.0%). Verified 110 code "
        "bytes (100.0%) and 32 data bytes (100.0%).   Current state: Completed successfully";
    Texts lines = WithoutEarlyProgress(result);
    ASSERT_FALSE(lines.empty());
    EXPECT_THAT(lines.back(),
                MatchesRegex("Total execution time: [0-9]+\\.[0-9][0-9] seconds     Net "
                             "downloading time: [0-9]+\\.[0-9][0-9] seconds"));
    lines.pop_back();
    EXPECT_THAT(lines,
                ElementsAreArray(Texts{
                    "Download minidriver successfully had written 32 bytes to address 0x00200000",
                    "Download minidriver successfully had written 32 bytes to address 0x00200020",
                    "Download minidriver successfully had written 6 bytes to address 0x00200040",
                    "Launch minidriver at 0x00200000 succeeded",
                    "Chip erase in progress",
                    "Download firmware successfully had written 48 bytes to address 0x08000000:  " +
                        bytes(CODE_LOW, 0, 16) + " ...",
                    "Download firmware successfully had written 48 bytes to address 0x08000030:  " +
                        bytes(CODE_LOW, 48, 16) + " ...",
                    "Download firmware successfully had written 4 bytes to address 0x08000060:  " +
                        bytes(CODE_LOW, 96, 4),
                    "Download firmware successfully had written 10 bytes to address 0x08010000:  " +
                        bytes(CODE_HIGH, 0, 10),
                    "Download config successfully had written 32 bytes to address 0xFFFFFFE0:  " +
                        bytes(DATA, 0, 32),
                    "Download firmware successfully verified 48 bytes at address 0x08000000:  " +
                        bytes(CODE_LOW, 0, 16) + " ...",
                    "Download firmware successfully verified 48 bytes at address 0x08000030:  " +
                        bytes(CODE_LOW, 48, 16) + " ...",
                    "Download firmware successfully verified 4 bytes at address 0x08000060:  " +
                        bytes(CODE_LOW, 96, 4),
                    "Download firmware successfully verified 10 bytes at address 0x08010000:  " +
                        bytes(CODE_HIGH, 0, 10),
                    "Download config successfully had verified 32 bytes at address 0xFFFFFFE0:  " +
                        bytes(DATA, 0, 32),
                    "Chip reset to address 0x08000001 succeeded",
                    allDone,
                    "",
                    "",
                    "A total of 5 contiguous memory areas were filled:",
                    "[08000000..08000063] CODE (100 bytes)",
                    "[08010000..08010009] CODE (10 bytes)",
                    "[FFFFFFE0..FFFFFFFF] DATA (32 bytes)",
                    "[08000000..08000063] CODE (100 bytes)",
                    "[08010000..08010009] CODE (10 bytes)"}));

    std::string logName;
    for (const auto& entry : std::filesystem::directory_iterator(files.m_Folder.Path())) {
        if (entry.path().filename().string().starts_with("log_")) {
            logName = entry.path().filename().string();
        }
    }
    EXPECT_THAT(logName, MatchesRegex("log_   0-00-00_[0-9]{6}\\.txt"));
    EXPECT_THAT(files.m_Folder.Read("DLTIMES.TXT"),
                MatchesRegex("an older line\n *[0-9]+\\.[0-9]{3} s      +[0-9]+\\.[0-9]{3} s    " +
                             logName + "\n"));
    const std::string log = files.m_Folder.Read(logName);
    const std::string stamp = "\n[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}";
    const char* const logged[] = {
        " Received bytes from HW: \n7 bytes:  04 0E 04 01 03 0C 00\n",
        "  About to execute DownloadMinidriver command\n",
        "  Will be downloading 110 bytes of code and 32 bytes of data using minidriver md",
        "  VNP file: board\\.vnp@Board\n",
        R"(  Downloading config \.\.\.     \(SOURCE:  CONFIG   Configuration data   cfg\.hcd\))",
        " VerifyCRC  checking 100 bytes starting at 0x08000000     Expecting CRC value ",
        " Chip reset to address 0x08000001 succeeded\n"};
    for (const char* line : logged) {
        EXPECT_THAT(log, ContainsRegex(stamp + line));
    }
}

// What the rules say and what the command line says, and the commands that come of it.
struct CChoice {
    const char* m_szName;
    const char* m_szRules;  // "" = no VNP file
    Texts m_Options;
    std::string m_strCommands;  // the kinds, a run of the same kind once
};

void PrintTo(const CChoice& choice, std::ostream* out) {
    *out << choice.m_szName;
}

class StandardDownloadChoice : public testing::TestWithParam<CChoice> {};

TEST_P(StandardDownloadChoice, DecidesTheCommands) {
    const CSampleFiles files;
    CSimulatedChip chip(Quick());
    // A chip that was loaded before, for the runs that only verify.
    chip.WriteMemory(CODE_LOW.m_nAddress, CODE_LOW.m_Data);
    chip.WriteMemory(CODE_HIGH.m_nAddress, CODE_HIGH.m_Data);
    ASSERT_EQ(chip.Start(), "");
    Texts words = With(STANDARD, {"-FIRMWARE", "fw.hex"});
    if (*GetParam().m_szRules != '\0') {
        files.m_Folder.Write("rules.vnp",
                             std::string("DevicePreset = \"A\"\n") + GetParam().m_szRules);
        words = With(words, {"-VNP", "rules.vnp"});
    }
    const CProgramResult result =
        CProgramRun(chip, files.m_Folder).Run(With(words, GetParam().m_Options));
    chip.Stop();
    EXPECT_EQ(result.m_nStatus, 0) << result.m_strErrors;
    std::string commands;
    const char* last = "";
    for (const CHIP_COMMAND& command : chip.Commands()) {
        const char* const word = ChipCommandKindWord(command.kind);
        if (std::string(word) != last) {
            commands += (commands.empty() ? "" : " ") + std::string(word);
        }
        last = word;
    }
    EXPECT_EQ(commands, GetParam().m_strCommands);
}

INSTANTIATE_TEST_SUITE_P(
    ByUser, StandardDownloadChoice,
    testing::Values(CChoice{"NoRules", "", {}, "minidriver reset write launch"},
                    CChoice{"EverythingOn",
                            "DLConfigTargeting = FLASH\n",
                            {"-ERASE", "-VERIFY", "-CHECKCRC", "-NODLMINIDRIVER"},
                            "reset erase write crc write crc read launch"},
                    CChoice{"EverythingOff",
                            "DLConfigTargeting = FLASH\nDLSectorEraseMode = Chip erase\n"
                            "DLWriteVerifyMode = Write and verify\n",
                            {"-NOERASE", "-NOWRITE", "-NOVERIFY", "-MINIDRIVER", "md.hex"},
                            "minidriver reset write launch"},
                    CChoice{"VerifyOnly",
                            "DLConfigTargeting = EEPROM\nDLWriteVerifyMode = write\n",
                            {"-noverify", "-nowrite", "-verify"},
                            "minidriver reset read launch"}),
    [](const auto& choice) { return choice.param.m_szName; });

TEST(StandardDownload, ProgressComesEverySecondThroughAThousandRecords) {
    const CTempDir folder;
    const CSampleRange image = {0x400000, SampleBytes(32000, 1)};
    folder.Write("fw.hex", IntelHexText({image}));
    CSimulatedChip chip(Quick());
    ASSERT_EQ(chip.Start(), "");
    const CProgramResult result =
        CProgramRun(chip, folder).Run(With(STANDARD, {"-FIRMWARE", "fw.hex"}));
    chip.Stop();
    EXPECT_EQ(result.m_nStatus, 0) << result.m_strErrors;
    EXPECT_EQ(chip.ReadMemory(image.m_nAddress, image.m_Data.size()), image.m_Data);

    std::size_t details = 0;
    std::size_t lastBytes = 0;
    std::vector<double> progress;
    for (const CPrintedLine& line : result.m_Lines) {
        details += line.m_strText.starts_with("Download firmware successfully") ? 1 : 0;
        if (line.m_strText.starts_with("Downloaded ")) {
            progress.push_back(line.m_Seconds);
            // What a progress line counts is what the details before it say.
            const std::size_t bytes = std::stoul(line.m_strText.substr(11));
            EXPECT_EQ(bytes, details * 32) << line.m_strText;
            EXPECT_GE(bytes, lastBytes);
            lastBytes = bytes;
        }
    }
    EXPECT_EQ(details, 1000U);
    ASSERT_GE(progress.size(), 4U);
    for (std::size_t i = 1; i < progress.size(); ++i) {
        EXPECT_NEAR(progress[i] - progress[i - 1], 1.0, 0.7);
    }
}

TEST(StandardDownload, AnErrorComesLastBehindTheFilledAreas) {
    const CSampleFiles files;
    CHIP_SETTINGS settings = Quick();
    settings.faults.emplace_back();
    ASSERT_EQ(ParseFaultRule("crc:2:badcrc", settings.faults[0]), "");
    CSimulatedChip chip(settings);
    ASSERT_EQ(chip.Start(), "");
    CProgramRun run(chip, files.m_Folder);
    run.MergeErrors();
    const CProgramResult result =
        run.Run(With(STANDARD, {"-FIRMWARE", "fw.hex", "-CHECKCRC", "-RECORDDLTIME"}));
    chip.Stop();
    EXPECT_EQ(result.m_nStatus, 241);
    const Texts lines = WithoutEarlyProgress(result);
    // Four records of the first range, one of the second.
    ASSERT_EQ(lines.size(), 12U);
    EXPECT_EQ(lines[5],
              "Downloaded 110 code bytes (100.0%) and 0 data bytes ( 0.0%). Verified 0 code bytes "
              "( 0.0%) and 0 data bytes ( 0.0%).   Current state: Terminated with error");
    EXPECT_EQ(lines[8], "A total of 2 contiguous memory areas were filled:");
    EXPECT_EQ(lines[9], "[08000000..08000063] CODE (100 bytes)");
    EXPECT_EQ(lines[10], "[08010000..08010009] CODE (10 bytes)");
    EXPECT_THAT(lines[11],
                MatchesRegex("CRC mismatch while checking 10 bytes starting at address 0x08010000; "
                             "host computed [0-9A-F]{8}, firmware computed [0-9A-F]{8}"));
    EXPECT_EQ(files.m_Folder.Read("DLTIMES.TXT"), "");
}

TEST(StandardDownload, AFailedPreparationSaysOnlyWhy) {
    const struct {
        const char* m_szFault;  // "" = none
        Texts m_Options;
        std::string m_strError;
    } cases[] = {
        {"", {"-CONFIG", "settings.cgs"}, "NOT_IMPLEMENTED_CGS_TO_BINARY_CONVERSION"},
        {"", {}, "No data/code to load."},
        {"minidriver:1:drop", {"-FIRMWARE", "fw.hex"}, " VintorDownloadMinidriver failed!"},
        {"reset:1:cut=6",
         {"-FIRMWARE", "fw.hex", "-VNP", "board.vnp@\"Board\""},
         "CChipDownloader::VintorPreDownloadSendMessages: SendCommandAndWaitForCompletion call "
         "failed"},
    };
    const CSampleFiles files;
    files.m_Folder.Write("settings.cgs", "FORMAT_VERSION = 1\n");
    for (const auto& c : cases) {
        CHIP_SETTINGS settings = Quick();
        if (*c.m_szFault != '\0') {
            settings.faults.emplace_back();
            ASSERT_EQ(ParseFaultRule(c.m_szFault, settings.faults[0]), "");
        }
        CSimulatedChip chip(settings);
        ASSERT_EQ(chip.Start(), "");
        const CProgramResult result =
            CProgramRun(chip, files.m_Folder).Run(With(STANDARD, c.m_Options));
        EXPECT_EQ(result.m_nStatus, 241);
        EXPECT_EQ(result.m_strErrors, c.m_strError + "\n");
        EXPECT_THAT(result.Texts(), IsEmpty());
    }
}

// Without a custom download this mode is reserved: nothing is read, sent or finished.
TEST(StandardDownload, WithRulesAloneItStaysInitialized) {
    const CSampleFiles files;
    CSimulatedChip chip(Quick());
    ASSERT_EQ(chip.Start(), "");
    CProgramRun run(chip, files.m_Folder);
    run.StopAfter(2);
    const CProgramResult result =
        run.Run({"-RULES", "board.vnp", "-PORT", "/dev/tty", "-FIRMWARE", "fw.hex"});
    chip.Stop();
    EXPECT_EQ(result.m_nStatus, 128 + SIGTERM);
    const std::string line =
        "Downloaded 0 code bytes ( 0.0%) and 0 data bytes ( 0.0%). Verified 0 code bytes ( 0.0%) "
        "and 0 data bytes ( 0.0%).   Current state: Initialized";
    EXPECT_THAT(result.Texts(), ElementsAre(line, line));
    EXPECT_THAT(chip.ReceivedBytes(), IsEmpty());
}

}  // namespace
