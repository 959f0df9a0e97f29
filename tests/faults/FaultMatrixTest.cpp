#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <fstream>
#include <iterator>
#include <numeric>
#include <sstream>
#include <thread>

#include "faults/FaultMatrix.h"
#include "image/ChipImageByteData.h"
#include "support/ProcessRun.h"
#include "support/SampleImages.h"

namespace {

constexpr unsigned int MINIDRIVER_ADDRESS = 0x00200000;
constexpr unsigned int FIRMWARE_ADDRESS = 0x00500000;
constexpr unsigned int CONFIG_ADDRESS = 0x00510000;

Bytes CountingBytes(std::size_t count, unsigned char first) {
    Bytes bytes(count);
    std::iota(bytes.begin(), bytes.end(), first);
    return bytes;
}

// A download that has one of every kind of command, in a folder of its own.
class CFaultyDownload {
public:
    CFaultyDownload() {
        m_Folder.Write("md.hex", IntelHexText({{MINIDRIVER_ADDRESS, m_Minidriver}}));
        m_Folder.Write("fw.hex", IntelHexText({{FIRMWARE_ADDRESS, m_Firmware}}));
        m_Folder.Write("cfg.hcd", HcdFile({{CONFIG_ADDRESS, m_Config}}, FIRMWARE_ADDRESS));
        m_Folder.Write("board.vnp",
                       "DevicePreset = \"Faults\"\nDLConfigTargeting = FLASH\n"
                       "DLSectorEraseMode = Chip erase\nDLWriteVerifyMode = Write and verify\n");
        m_Folder.Write("patch.ncd", std::string("version\x01PATCHSET", 16).append(RECORDS));
        m_Folder.Write("nfc.vnp",
                       "DevicePreset = \"Stays\"\nCustomDownload = NFC\n"
                       "CustomXATimeOutAfterPatchMS = 20\nCustomXAMaxWaitForSignatureMS = 500\n"
                       "DevicePreset = \"Restarts\"\nCustomDownload = X4410B\n");
    }

    PROCESS_RESULT Run(const std::string& fault) const {
        return RunWithChip({"--erase-time", "40", "--fault", fault, "--dump", "dump.hex"},
                           {"-VINTORMODE", "-VNP", "board.vnp", "-MINIDRIVER", "md.hex",
                            "-FIRMWARE", "fw.hex", "-CONFIG", "cfg.hcd", "-CHECKCRC"});
    }

    PROCESS_RESULT RunPatch(const std::string& fault, bool restarts) const {
        std::vector<std::string> options = {"--fault", fault, "--dump-records", "records.bin"};
        if (restarts) {
            options.emplace_back("--reset-ntf");
        }
        return RunWithChip(options, {"-RULES", restarts ? "nfc.vnp@Restarts" : "nfc.vnp@Stays",
                                     "-CONFIG", "patch.ncd"});
    }

    // The same for the records of the patch download, which arrive in order.
    int CountRecordBytesInChip() const {
        const std::string arrived = m_Folder.Read("records.bin");
        return RECORDS.starts_with(arrived) ? static_cast<int>(arrived.size()) : -1;
    }

    static int CountRecordBytes() { return static_cast<int>(RECORDS.size()); }

    // How many bytes of the files are in the chip; -1 when it holds any other byte.
    int CountBytesInChip() const {
        CChipImageByteData dump("", "", "");
        if (!dump.LoadFromHexFile(m_Folder.PathOf("dump.hex").c_str(), true, false).empty()) {
            return 0;  // an empty memory makes a file without data
        }
        int count = 0;
        for (unsigned int i = 0; i < dump.CountContiguousRanges(); ++i) {
            for (unsigned int offset = 0; offset < dump.GetRangeByteSize(i); ++offset) {
                const unsigned int address = dump.GetRangeStartingAddress(i) + offset;
                if (ExpectedByte(address) != dump.GetRangeBytePointer(i)[offset]) {
                    return -1;
                }
                ++count;
            }
        }
        return count;
    }

    int CountBytesInFiles() const {
        return static_cast<int>(m_Minidriver.size() + m_Firmware.size() + m_Config.size());
    }

private:
    static constexpr std::string_view RECORDS{
        "\x10\x2F\x2E\x03\x01pa\x10\x2F\x2E\x03\x02pb\x10\x2F\x2E\x03\x06si"};

    PROCESS_RESULT RunWithChip(const std::vector<std::string>& chipOptions,
                               const std::vector<std::string>& arguments) const {
        std::vector<std::string> words = {CHIPSIM_PROGRAM, "--baud", "0", "--seed", "7"};
        words.insert(words.end(), chipOptions.begin(), chipOptions.end());
        for (const char* word : {"--", HCILOAD_PROGRAM}) {
            words.emplace_back(word);
        }
        words.insert(words.end(), arguments.begin(), arguments.end());
        for (const char* word : {"-PORT", "/dev/tty", "-BAUDRATE", "115200"}) {
            words.emplace_back(word);
        }
        return RunProcess(m_Folder, words);
    }

    int ExpectedByte(unsigned int address) const {
        const struct {
            unsigned int m_nStart;
            const Bytes& m_Data;
        } areas[] = {{MINIDRIVER_ADDRESS, m_Minidriver},
                     {FIRMWARE_ADDRESS, m_Firmware},
                     {CONFIG_ADDRESS, m_Config}};
        for (const auto& area : areas) {
            if (address - area.m_nStart < area.m_Data.size()) {
                return area.m_Data[address - area.m_nStart];
            }
        }
        return -1;
    }

    CTempDir m_Folder;
    Bytes m_Minidriver = CountingBytes(40, 0x40);
    Bytes m_Firmware = CountingBytes(104, 0x00);
    Bytes m_Config = CountingBytes(40, 0x80);
};

// The chip says its seed where chance is in play.
std::string WithoutSeed(const std::string& err) {
    return err.starts_with("chipsim: seed ") ? err.substr(err.find('\n') + 1) : err;
}

void CheckCell(const FAULT_TARGET& target, const FAULT_KIND& kind) {
    const FAULT_OUTCOME expected = ExpectedOutcome(target, kind);
    const std::string fault = std::string(target.selector) + ":" + kind.fault;
    SCOPED_TRACE(fault);
    const CFaultyDownload download;
    const bool isPatch = IsOfPatchDownload(target);
    const PROCESS_RESULT result =
        isPatch ? download.RunPatch(fault, NeedsResetNotification(target)) : download.Run(fault);
    const int arrived = isPatch ? download.CountRecordBytesInChip() : download.CountBytesInChip();
    if (expected.error.empty()) {
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_THAT(result.out, testing::HasSubstr("Current state: Completed successfully\n"));
        EXPECT_EQ(arrived,
                  isPatch ? CFaultyDownload::CountRecordBytes() : download.CountBytesInFiles());
    } else {
        EXPECT_EQ(result.status, 241);
        EXPECT_THAT(WithoutSeed(result.err),
                    testing::AnyOf(expected.error + "\n", expected.orError + "\n"));
        EXPECT_THAT(result.out, testing::Not(testing::HasSubstr("Completed successfully")));
        EXPECT_GE(arrived, 0);
    }
    EXPECT_LT(result.seconds, expected.seconds);
}

class FaultMatrix : public testing::TestWithParam<FAULT_TARGET> {};

// The programs sleep most of the time, so several run side by side.
TEST_P(FaultMatrix, EveryFaultHasItsOutcome) {
    const std::vector<FAULT_KIND> kinds = FaultKindsOf(GetParam());
    std::atomic<std::size_t> next = 0;
    std::array<std::jthread, 7> workers;
    for (std::jthread& worker : workers) {
        worker = std::jthread([&] {
            for (std::size_t cell = next++; cell < kinds.size(); cell = next++) {
                CheckCell(GetParam(), kinds[cell]);
            }
        });
    }
}

INSTANTIATE_TEST_SUITE_P(Commands, FaultMatrix, testing::ValuesIn(FaultTargets()),
                         [](const auto& cell) {
                             std::string name = cell.param.name;
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return name;
                         });

// With UPDATE_FAULT_PAGE set the page is written anew instead.
TEST(FaultTable, IsTheOneThatUsersRead) {
    std::ostringstream page;
    page << std::ifstream(FAULT_PAGE).rdbuf();
    if (std::getenv("UPDATE_FAULT_PAGE") != nullptr) {
        std::ofstream(FAULT_PAGE) << FaultTableAsMarkdown();
        return;
    }
    EXPECT_EQ(page.str(), FaultTableAsMarkdown())
        << "write it anew with UPDATE_FAULT_PAGE=1 in the environment";
}

}  // namespace
