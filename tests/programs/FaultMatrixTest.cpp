#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <numeric>
#include <regex>

#include "support/CaptureReader.h"
#include "support/ProcessRun.h"
#include "support/SampleImages.h"
#include "support/SideBySide.h"
#include "util/JsonText.h"

// Runs every row of docs/faults.md, so that the page is true.

namespace {

using Words = std::vector<std::string>;

struct FAULT_ROW {
    std::string fault;  // KIND:N:FAULT
    Words errors;       // any of these; none = the download recovers
};

// | what happens | `fault` | recovers, or `text`, or `text` or `text` |
std::vector<FAULT_ROW> ReadPage() {
    static const std::regex ROW(
        "\\| [^|]* \\| `([^`]+)` \\| (recovers|`([^`]+)`( or `([^`]+)`)?) \\|");
    std::ifstream page(FAULT_PAGE);
    std::vector<FAULT_ROW> rows;
    for (std::string line; std::getline(page, line);) {
        std::smatch cells;
        if (std::regex_match(line, cells, ROW)) {
            FAULT_ROW row = {cells[1], {}};
            for (const std::size_t cell : {3U, 5U}) {
                if (cells[cell].matched) {
                    row.errors.push_back(cells[cell].str() + "\n");
                }
            }
            rows.push_back(row);
        } else {
            EXPECT_FALSE(line.starts_with("| ") && line.find("--fault") == std::string::npos)
                << "not a row: " << line;
        }
    }
    return rows;
}

Bytes CountingBytes(std::size_t count, unsigned char first) {
    Bytes bytes(count);
    std::iota(bytes.begin(), bytes.end(), first);
    return bytes;
}

const CSampleRange MINIDRIVER = {0x00200000, CountingBytes(40, 0x40)};
const CSampleRange FIRMWARE = {0x00500000, CountingBytes(104, 0x00)};
const CSampleRange CONFIG = {0x00510000, CountingBytes(40, 0x80)};
constexpr std::string_view RECORDS =
    "\x10\x2F\x2E\x03\x01pa\x10\x2F\x2E\x03\x02pb\x10\x2F\x2E\x03\x06si";

void WriteFiles(const CTempDir& folder) {
    folder.Write("md.hex", IntelHexText({MINIDRIVER}));
    folder.Write("fw.hex", IntelHexText({FIRMWARE}));
    folder.Write("cfg.hcd", HcdFile({CONFIG}, FIRMWARE.address));
    folder.Write("board.vnp",
                 "DevicePreset = \"Board\"\nDLConfigTargeting = FLASH\n"
                 "DLSectorEraseMode = Chip erase\nDLWriteVerifyMode = Write and verify\n");
    folder.Write("patch.ncd", std::string("version\x01PATCHSET", 16).append(RECORDS));
    folder.Write("nfc.vnp",
                 "DevicePreset = \"Stays\"\nCustomDownload = NFC\n"
                 "CustomXATimeOutAfterPatchMS = 20\nCustomXAMaxWaitForSignatureMS = 500\n"
                 "DevicePreset = \"Restarts\"\nCustomDownload = X4410B\n");
}

const Words STANDARD = {"--",        HCILOAD_PROGRAM, "-VINTORMODE", "-VNP",
                        "board.vnp", "-MINIDRIVER",   "md.hex",      "-FIRMWARE",
                        "fw.hex",    "-CONFIG",       "cfg.hcd",     "-CHECKCRC"};
const Words READOUT = {
    "--load",   "fw.hex", "--",        HCILOAD_PROGRAM, "--read", "0x500000-0x500067",
    "read.hex", "-VNP",   "board.vnp", "-MINIDRIVER",   "md.hex"};
const Words PATCH = {"--", HCILOAD_PROGRAM, "-RULES", "nfc.vnp@Stays", "-CONFIG", "patch.ncd"};
const Words RESTARTING_PATCH = {"--reset-ntf",      "--",      HCILOAD_PROGRAM, "-RULES",
                                "nfc.vnp@Restarts", "-CONFIG", "patch.ncd"};

// The records of an Intel HEX text but the last, each with the address record before it.
Words PlacedLines(const std::string& text) {
    std::istringstream in(text);
    std::string place;
    Words lines;
    for (std::string line; std::getline(in, line) && line != ":00000001FF";) {
        place = line.starts_with(":02000004") ? line : place;
        lines.push_back(place + line);
    }
    return lines;
}

// The bytes of one direction, '<' or '>', whatever packets they came in.
std::string BytesOf(const CCaptureReader& capture, char direction) {
    std::string bytes;
    for (const std::string& item : capture.m_Items) {
        bytes += item[2] == direction ? item.substr(3) : "";
    }
    return bytes;
}

// The captures of both sides agree, but for what was lost at the end.
void CheckCaptures(const CTempDir& folder, const std::string& error) {
    const CCaptureReader host(folder.Read("host.pcapng"));
    const CCaptureReader chip(folder.Read("chip.pcapng"));
    EXPECT_TRUE(BytesOf(host, '>').starts_with(BytesOf(chip, '>')));
    EXPECT_TRUE(BytesOf(chip, '<').starts_with(BytesOf(host, '<')));
    EXPECT_TRUE(!error.empty() || BytesOf(host, '<') == BytesOf(chip, '<'));
    EXPECT_THAT(host.m_Items,
                testing::Contains("1 # " + (error.empty() ? "Completed successfully"
                                                          : error.substr(0, error.size() - 1))));
    EXPECT_TRUE(std::ranges::is_sorted(host.m_Times));
}

// It says what the program said and returned.
void CheckReport(const std::string& report, const std::string& error, int status) {
    const CJsonText text = error.empty() ? nullptr : CJsonText(error.substr(0, error.size() - 1));
    EXPECT_THAT(report, testing::EndsWith("\"error\": " + text.Text() + ",\n  \"exitStatus\": " +
                                          std::to_string(status) + "\n}\n"));
}

void CheckRow(const FAULT_ROW& row, const CTempDir& reports) {
    SCOPED_TRACE(row.fault);
    const CTempDir folder;
    WriteFiles(folder);
    const bool restarts = row.fault.starts_with("resetntf");
    const bool isPatch =
        restarts || row.fault.starts_with("patch") || row.fault.starts_with("sign");
    Words words = {CHIPSIM_PROGRAM, "--baud",    "0",           "--seed",   "7",
                   "--erase-time",  "40",        "--dump",      "dump.hex", "--dump-records",
                   "records",       "--capture", "chip.pcapng", "--fault",  row.fault};
    const bool isReadout = row.fault.starts_with("read:2");
    const Words& download = restarts    ? RESTARTING_PATCH
                            : isPatch   ? PATCH
                            : isReadout ? READOUT
                                        : STANDARD;
    words.insert(words.end(), download.begin(), download.end());
    words.insert(words.end(), {"-PORT", "/dev/tty", "-CAPTURETO", "host.pcapng", "-REPORTTO",
                               reports.PathOf(row.fault)});
    const PROCESS_RESULT result = RunProcess(folder, words, 90);

    const Words loaded = PlacedLines(folder.Read("dump.hex"));
    const std::string records = folder.Read("records");
    const Words wholeMemory = PlacedLines(
        IntelHexText(isPatch ? std::vector<CSampleRange>()
                             : std::vector<CSampleRange>{MINIDRIVER, FIRMWARE, CONFIG}));
    const std::string_view wholeRecords = isPatch ? RECORDS : "";
    std::string error = result.err;
    if (error.starts_with("chipsim: seed ")) {
        error.erase(0, error.find('\n') + 1);
    }
    if (row.errors.empty()) {
        EXPECT_EQ(result.status, 0) << error;
        EXPECT_THAT(result.out,
                    testing::HasSubstr(isReadout ? "" : "Current state: Completed successfully\n"));
        EXPECT_EQ(isReadout ? folder.Read("read.hex") : "", isReadout ? folder.Read("fw.hex") : "");
        EXPECT_TRUE(isReadout || loaded == wholeMemory);
        EXPECT_EQ(records, wholeRecords);
    } else {
        EXPECT_EQ(result.status, 241);
        EXPECT_FALSE(std::filesystem::exists(folder.PathOf("read.hex")));
        EXPECT_THAT(row.errors, testing::Contains(error));
        EXPECT_THAT(result.out, testing::Not(testing::HasSubstr("Completed successfully")));
        EXPECT_THAT(wholeMemory, testing::IsSupersetOf(loaded));
        EXPECT_TRUE(wholeRecords.starts_with(records));
    }
    CheckCaptures(folder, error);
    CheckReport(reports.Read(row.fault), error, result.status);
    EXPECT_LT(result.seconds, 60);
}

TEST(FaultMatrix, EachRowOfThePageIsTrue) {
    std::vector<FAULT_ROW> rows = ReadPage();
    EXPECT_GT(rows.size(), 200U);
    // The longest first, so that none of them is left over at the end.
    std::stable_partition(rows.begin(), rows.end(), [](const FAULT_ROW& row) {
        return (row.fault.starts_with("erase") && !row.errors.empty()) ||
               row.fault.ends_with("=5000");
    });
    const CTempDir reports;
    RunSideBySide(rows, [&](const FAULT_ROW& row) { CheckRow(row, reports); });
    const std::string parse =
        "import glob, json; print(sum(json.load(open(f))['schema'] for f in glob.glob('*:*')))";
    EXPECT_EQ(RunProcess(reports, {"python3", "-c", parse}, 60).out,
              std::to_string(rows.size()) + "\n");
}

}  // namespace
