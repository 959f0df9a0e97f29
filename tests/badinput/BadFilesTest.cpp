#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <functional>
#include <map>

#include "image/ChipImageByteData.h"
#include "rules/DownloadRulesSet.h"
#include "support/HexRecord.h"
#include "support/TempDir.h"
#include "util/NameValueTable.h"

// Files that are not what they should be, given to each reader of files: one clear text, or what
// the format says about it, and never more.

namespace {

std::string LoadHex(const std::string& path) {
    return CChipImageByteData("", "", "").LoadFromHexFile(path.c_str(), true, false);
}

std::string LoadHCD(const std::string& path) {
    unsigned int launchAddress = 0;
    return CChipImageByteData("", "", "").LoadFromHCDFile(path.c_str(), &launchAddress, true);
}

std::string LoadNCD(const std::string& path) {
    unsigned int patchSets = 0;
    return CChipImageByteData("", "", "").LoadFromNCDFile(path.c_str(), &patchSets);
}

std::string LoadVNP(const std::string& path) {
    return CDownloadRulesSet("").LoadFromDownloadParametersFile(path.c_str());
}

std::string LoadTable(const std::string& path) {
    return CNameValueTable().LoadFromFile(path.c_str());
}

// A file of the given size that occupies next to nothing: the content, then NUL bytes.
std::string WriteSparse(const CTempDir& folder, std::string_view content, std::int64_t size) {
    std::string path = folder.Write("sparse", content);
    EXPECT_EQ(::truncate(path.c_str(), size), 0);
    return path;
}

constexpr std::int64_t FOUR_GIGABYTES = std::int64_t{4} << 30;

std::string AllBytes() {
    std::string bytes;
    for (int byte = 255; byte >= 0; --byte) {
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

// The texts begin like this; "" is success, "*" stands for the path.
struct BAD_FILE {
    const char* name;
    std::function<std::string(const CTempDir&)> make;  // returns the path
    const char* hex;
    const char* hcd;
    const char* ncd;
    const char* vnp;
    const char* table;
};

const BAD_FILE BAD_FILES[] = {
    {"missing", [](const CTempDir& d) { return d.PathOf("none"); }, "Could not open file *",
     "Failed to open HCD file *", "Failed to open NCD file *", "NA", "File not found"},
    {"empty", [](const CTempDir& d) { return d.Write("f", ""); }, "Invalid file format: ", "",
     "Failed to read version information from NCD file *", "NA", "Empty string!"},
    {"directory", [](const CTempDir& d) { return d.Path(); }, "Could not open file *",
     "Failed to open HCD file *", "Failed to open NCD file *", "NA", "File not found"},
    // It opens and cannot be read, for root too.
    {"unreadable", [](const CTempDir&) { return std::string("/proc/self/mem"); },
     "Invalid file format: Failed to read intel hex data: Input/output error",
     "Failed to read HCD data: Input/output error",
     "Failed to read version information from NCD file *", "NA", "File not found"},
    {"binary", [](const CTempDir& d) { return d.Write("f", AllBytes()); },
     "Invalid file format: Invalid intel hex data format: ", "Wrong HCD file format trying to read",
     "Failed to skip PATCH_DESC array in NCD file *", "NA", ""},
    {"NUL in a line", [](const CTempDir& d) { return d.Write("f", std::string(":0\0:0\n=\0", 8)); },
     "Invalid file format: Invalid intel hex data format: ValidateIntelHexLine: Line too short: :0",
     "Wrong HCD file format trying to read", "Patch set count is 0 in NCD file *", "NA", ""},
    {"a line of a megabyte",
     [](const CTempDir& d) { return d.Write("f", std::string(1U << 20, '0') + "=1\n"); },
     "Invalid file format: Invalid intel hex data format: ValidateIntelHexLine: Unexpected "
     "starting",
     "Wrong HCD file format trying to read", "Unexpected PID value 0x30 in NCD record", "NA", ""},
    {"a record and a megabyte",
     [](const CTempDir& d) {
         return d.Write("f", HexRecord(0, 0, {1}) + std::string(1U << 20, ':') + "\n");
     },
     "Invalid intel hex data format: ValidateIntelHexLine: Failed to parse #data bytes: :",
     "Wrong HCD file format trying to read", "Unexpected PID value 0x3A in NCD record", "NA", ""},
    {"a set and lines of a megabyte",
     [](const CTempDir& d) {
         return d.Write("f", "DevicePreset\n" + std::string(1U << 20, 'a') + "=1\n");
     },
     "Invalid file format: Invalid intel hex data format: ", "Wrong HCD file format trying to read",
     "Unexpected PID value 0x61 in NCD record", "", ""},
    {"4 GiB of nothing", [](const CTempDir& d) { return WriteSparse(d, "", FOUR_GIGABYTES); },
     "Invalid file format: Invalid intel hex data format: ValidateIntelHexLine: Line too short: ",
     "Wrong HCD file format trying to read", "Patch set count is 0 in NCD file *", "NA",
     "Empty string!"},
    {"4 GiB behind a record",
     [](const CTempDir& d) { return WriteSparse(d, HexRecord(0, 0, {1}), FOUR_GIGABYTES); },
     "Invalid intel hex data format: ValidateIntelHexLine: Line too short: ",
     "Wrong HCD file format trying to read", "Unexpected PID value 0x00 in NCD record", "NA", ""},
};

TEST(BadFilesTest, GetOneClearTextFromEachReader) {
    for (const BAD_FILE& file : BAD_FILES) {
        const CTempDir folder;
        const std::string path = file.make(folder);
        const std::pair<std::string (*)(const std::string&), const char*> readers[] = {
            {LoadHex, file.hex},
            {LoadHCD, file.hcd},
            {LoadNCD, file.ncd},
            {LoadVNP, file.vnp},
            {LoadTable, file.table}};
        int column = 0;
        for (const auto& [load, expected] : readers) {
            std::string text = expected;
            if (const std::size_t star = text.find('*'); star != std::string::npos) {
                text.replace(star, 1, path);
            }
            const std::string error = load(path);
            // A message that quotes a line of a megabyte is no clear message.
            EXPECT_LT(error.size(), 1000U) << file.name << " " << column;
            EXPECT_EQ(error.substr(0, text.empty() ? 1000 : text.size()), text)
                << file.name << " " << column;
            ++column;
        }
    }
}

TEST(BadFilesTest, NamesAreNeverFormatsAndMayHoldAnything) {
    const std::string names[] = {"two words.hex",
                                 " ",
                                 "'single' \"double\"",
                                 "%s%n%d%1000000d",
                                 "\xC3\xBC\xE2\x82\xAC.hex",
                                 "-dash",
                                 "back\\slash\n\t",
                                 std::string(255, 'x')};
    for (const std::string& name : names) {
        const CTempDir folder;
        const std::string path = folder.PathOf(name);
        EXPECT_EQ(LoadHex(path), "Could not open file " + path);
        EXPECT_EQ(LoadHCD(path), "Failed to open HCD file " + path);
        EXPECT_EQ(LoadNCD(path), "Failed to open NCD file " + path);
        folder.Write(name, "DevicePreset \"x\"\n");
        EXPECT_EQ(LoadVNP(path), "");
        EXPECT_EQ(LoadVNP(path + "@%s"), "In the VNP file " + path +
                                             " could not find a specified set of download "
                                             "parameters \"%s\"");
        folder.Write(name, HexRecord(0, 0, {1}));
        EXPECT_EQ(LoadHex(path), "");
    }
}

// The bytes of an image by their addresses.
std::map<unsigned int, unsigned char> MemoryOf(const CChipImageByteData& image) {
    std::map<unsigned int, unsigned char> memory;
    for (unsigned int i = 0; i < image.CountContiguousRanges(); ++i) {
        for (unsigned int k = 0; k < image.GetRangeByteSize(i); ++k) {
            memory[image.GetRangeStartingAddress(i) + k] = image.GetRangeBytePointer(i)[k];
        }
    }
    return memory;
}

std::string LoadSample(const std::string& path, bool isHCD, CChipImageByteData& image) {
    unsigned int launchAddress = 0;
    return isHCD ? image.LoadFromHCDFile(path.c_str(), &launchAddress, true)
                 : image.LoadFromHexFile(path.c_str(), true, false);
}

// Whatever a cut file gives, with or without a text, is a part of what the whole file gives.
TEST(BadFilesTest, SampleFilesMayEndAnywhere) {
    for (const std::string name : {"config.hex", "minidriver.hex", "firmware.hex", "config.hcd"}) {
        const bool isHCD = name.ends_with(".hcd");
        const CTempDir folder;
        const std::string path = folder.PathOf(name);
        std::filesystem::copy_file(EXAMPLES "/" + name, path);
        CChipImageByteData image("", "", "");
        ASSERT_EQ(LoadSample(path, isHCD, image), "") << name;
        const auto whole = MemoryOf(image);
        std::size_t errors = 0;
        const auto size = std::filesystem::file_size(path);
        for (std::size_t cut = 1; cut <= size; ++cut) {
            const auto length = size - cut;
            std::filesystem::resize_file(path, length);
            const std::string error = LoadSample(path, isHCD, image);
            errors += error.empty() ? 0 : 1;
            // A record that is cut is an error; what stands before it is loaded all the same.
            const auto part = MemoryOf(image);
            ASSERT_TRUE(std::includes(whole.begin(), whole.end(), part.begin(), part.end()))
                << name << " cut to " << length;
        }
        EXPECT_GT(errors, size / 2) << name;
        EXPECT_LT(errors, size) << name;
    }
}

TEST(BadFilesTest, TheSampleRulesMayEndAnywhere) {
    const CTempDir folder;
    const std::string path = folder.PathOf("board.vnp");
    std::filesystem::copy_file(EXAMPLES "/board.vnp", path);
    CDownloadRulesSet whole("");
    ASSERT_EQ(whole.LoadFromDownloadParametersFile(path.c_str()), "");
    const auto size = std::filesystem::file_size(path);
    for (std::size_t cut = 1; cut <= size; ++cut) {
        const auto length = size - cut;
        std::filesystem::resize_file(path, length);
        CDownloadRulesSet part("");
        const std::string error = part.LoadFromDownloadParametersFile(path.c_str());
        EXPECT_EQ(error, length < std::string("DevicePreset").size() ? "NA" : "") << length;
        const char* const mode = part.GetDownloadParameter("DLWriteVerifyMode");
        const std::string wholeMode = whole.GetDownloadParameter("DLWriteVerifyMode");
        EXPECT_TRUE(mode == nullptr || wholeMode.starts_with(mode)) << length;
    }
}

}  // namespace
