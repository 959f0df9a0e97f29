#include "image/ChipImageLoadingInformation.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <thread>

#include "support/SampleImages.h"
#include "support/TempDir.h"
#include "transport/CommunicationParameters.h"
#include "util/TextLines.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char NO_CONVERSION[] = "NOT_IMPLEMENTED_CGS_TO_BINARY_CONVERSION";

Bytes RangeBytes(const CChipImageByteData& chunk, unsigned int range) {
    const unsigned char* first = chunk.GetRangeBytePointer(range);
    return {first, first + chunk.GetRangeByteSize(range)};
}

CChipImageLoadingInformation VintorModeInfo(const CChipDownloadDescriptor& descriptor) {
    CChipImageLoadingInformation info(descriptor, false, nullptr);
    info.MarkVintorMode();
    return info;
}

std::vector<std::string> MinidriverFiles(const CChipDownloadDescriptor& descriptor) {
    std::vector<std::string> names;
    for (unsigned int i = 0; i < descriptor.CountMinidriverFiles(); ++i) {
        names.push_back(descriptor.GetMinidriverFile(i));
    }
    return names;
}

std::string OnlyConfigFile(const CChipDownloadDescriptor& descriptor) {
    return descriptor.CountConfigDataFiles() == 1 ? descriptor.GetConfigDataFile(0) : "";
}

std::string OnlyFirmwareFile(const CChipDownloadDescriptor& descriptor) {
    return descriptor.CountFirmwareFiles() == 1 ? descriptor.GetFirmwareFile(0) : "";
}

TEST(ChipImageLoadingInformation, LoadsMinidriverThenConfigurationThenFirmware) {
    const CTempDir folder;
    CChipDownloadDescriptor descriptor;
    descriptor.AddFirmwareFileName(
        folder.Write("first.hex", IntelHexText({{0x200000, {1, 2, 3}}})));
    descriptor.AddFirmwareFileName(folder.Write("second.hex", IntelHexText({{0x300000, {4}}})));
    descriptor.AddConfigDataFileName(
        folder.Write("config.hcd", HcdFile({{0x400, {5, 6}}, {0x402, {7}}}, 0xFFFF0000U)));
    descriptor.AddConfigDataFileName(folder.Write("config.hex", IntelHexText({{0x500, {8}}})));
    descriptor.AddMinidriverFileName(
        folder.Write("minidriver.hcd", HcdFile({{0x100, {9, 10}}}, 0x101)));
    CChipImageLoadingInformation info = VintorModeInfo(descriptor);

    ASSERT_EQ(info.PrepareToLoad(nullptr), "");

    const struct {
        const char* m_szKind;
        const char* m_szDescription;
        const char* m_szFile;
        unsigned int m_nAddress;
        Bytes m_Data;
    } expected[] = {
        {"MINIDRIVER", "The minidriver code", "minidriver.hcd", 0x100, {9, 10}},
        {"CONFIG", "Configuration data", "config.hcd", 0x400, {5, 6, 7}},
        {"CONFIG", "Configuration data", "config.hex", 0x500, {8}},
        {"FIRMWARE", "Firmware code", "first.hex", 0x200000, {1, 2, 3}},
        {"FIRMWARE", "Firmware code", "second.hex", 0x300000, {4}},
    };
    ASSERT_EQ(info.CountChunks(), std::size(expected));
    for (unsigned int i = 0; i < info.CountChunks(); ++i) {
        SCOPED_TRACE(expected[i].m_szFile);
        const CChipImageByteData& chunk = info.GetChunk(i);
        EXPECT_STREQ(chunk.GetSourceType(), expected[i].m_szKind);
        EXPECT_STREQ(chunk.GetName(), expected[i].m_szDescription);
        EXPECT_EQ(chunk.GetSourceId(), folder.PathOf(expected[i].m_szFile));
        ASSERT_EQ(chunk.CountContiguousRanges(), 1U);
        EXPECT_EQ(chunk.GetRangeStartingAddress(0), expected[i].m_nAddress);
        EXPECT_EQ(RangeBytes(chunk, 0), expected[i].m_Data);
    }
    // What the configuration's launch record said, although nothing is loaded there; the
    // minidriver's stays its own.
    EXPECT_EQ(info.GetLaunchAddress(), 0xFFFF0000U);
    EXPECT_EQ(info.GetChunk(0).GetLaunchAddress(), 0x101U);
}

TEST(ChipImageLoadingInformation, StopsAtTheFirstFileThatCannotBeLoaded) {
    const CTempDir folder;
    const std::string good = folder.Write("good.hex", IntelHexText({{0x100, {1}}}));
    const std::string hcd = folder.Write("good.hcd", HcdFile({{0x100, {1}}}, std::nullopt));
    const std::string text = folder.Write("settings.cgs", "FORMAT_VERSION = 1\n");
    const std::string missing = folder.PathOf("missing.hex");
    const std::string hexError =
        CChipImageByteData("", "", "").LoadFromHexFile(hcd.c_str(), true, false);
    ASSERT_NE(hexError, "");

    const struct {
        const char* m_szName;
        std::vector<std::string> m_Minidrivers;
        std::vector<std::string> m_Configs;
        std::vector<std::string> m_Firmwares;
        std::string m_strError;
        unsigned int m_nChunksLeft;
    } cases[] = {
        {"no data files", {good}, {}, {}, "No data/code to load.", 0},
        {"two minidrivers, unread",
         {missing, missing},
         {good},
         {},
         "Cannot have multiple minidrivers in Vintor mode.",
         0},
        {"minidriver is text", {text}, {good}, {}, "Failed to read the minidriver file " + text, 0},
        {"configuration text", {good}, {good, text}, {good}, NO_CONVERSION, 2},
        {"configuration missing", {}, {missing}, {}, NO_CONVERSION, 0},
        {"firmware is no hex file", {}, {good}, {good, hcd}, hexError, 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.m_szName);
        CChipDownloadDescriptor descriptor;
        for (const std::string& name : c.m_Minidrivers) {
            descriptor.AddMinidriverFileName(name);
        }
        for (const std::string& name : c.m_Configs) {
            descriptor.AddConfigDataFileName(name);
        }
        for (const std::string& name : c.m_Firmwares) {
            descriptor.AddFirmwareFileName(name);
        }
        CChipImageLoadingInformation info = VintorModeInfo(descriptor);
        EXPECT_EQ(info.PrepareToLoad(nullptr), c.m_strError);
        EXPECT_EQ(info.CountChunks(), c.m_nChunksLeft);
    }
}

// What a file of each kind and format comes to, given as a pipe with and without a name.
TEST(ChipImageLoadingInformation, APipeIsReadLikeAFile) {
    const std::string hex = IntelHexText({{0x500, {8}}});
    const std::string hcd = HcdFile({{0x500, {8}}}, 0x500);
    const std::string text(70000, 'L');  // more than a pipe holds
    const struct {
        const char* m_szName;
        std::string m_strContent;
        bool m_bIsMinidriver;
        std::string m_strError;  // NAME stands for the file's name
    } cases[] = {
        {"hex", hex, false, ""},
        {"hcd", hcd, false, ""},
        {"text", text, false, NO_CONVERSION},
        {"minidriver hex", hex, true, ""},
        {"minidriver hcd", hcd, true, ""},
        {"minidriver text", text, true, "Failed to read the minidriver file NAME"},
    };
    const CTempDir folder;
    const std::string fifo = folder.PathOf("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    for (const auto& c : cases) {
        for (const bool isNamed : {false, true}) {
            SCOPED_TRACE(std::string(c.m_szName) + (isNamed ? " named" : ""));
            int ends[2] = {-1, -1};
            ASSERT_EQ(::pipe(ends), 0);
            const std::string name = isNamed ? fifo : "/dev/fd/" + std::to_string(ends[0]);
            std::thread writer([&] {
                // As a named pipe's writer does, it waits for the reader to open.
                std::ofstream(isNamed ? fifo : "/dev/fd/" + std::to_string(ends[1]))
                    << c.m_strContent;
                ::close(ends[1]);
            });
            EXPECT_TRUE(DoesFileExist(name.c_str()));
            CChipDownloadDescriptor descriptor;
            c.m_bIsMinidriver ? descriptor.AddMinidriverFileName(name)
                              : descriptor.AddConfigDataFileName(name);
            CChipImageLoadingInformation info(descriptor, true, nullptr);
            info.MarkVintorMode();
            std::string error = info.PrepareToLoad(nullptr);
            writer.join();
            ::close(ends[0]);
            if (error.ends_with(name)) {
                error.replace(error.size() - name.size(), name.size(), "NAME");
            }
            EXPECT_EQ(error, c.m_strError);
            ASSERT_EQ(info.CountChunks(), c.m_strError.empty() ? 1U : 0U);
            if (info.CountChunks() == 1) {
                EXPECT_EQ(info.GetChunk(0).GetByteValueAtThisAddress(0x500), 8);
            }
        }
    }
}

TEST(ChipImageLoadingInformation, AnEmptyLoadIsFineWhereItIsAllowed) {
    CChipImageLoadingInformation info(CChipDownloadDescriptor(), true, "");
    info.MarkVintorMode();
    EXPECT_EQ(info.PrepareToLoad(nullptr), "");
    EXPECT_EQ(info.CountChunks(), 0U);
    EXPECT_EQ(info.GetVnpFileNameIfSpecified(), nullptr);
}

// Rule-driven loading is reserved: the files are not even opened.
TEST(ChipImageLoadingInformation, OutsideVintorModeNothingIsRead) {
    CChipDownloadDescriptor descriptor;
    descriptor.AddConfigDataFileName("/nowhere/config.hex");
    CChipImageLoadingInformation info(descriptor, false, nullptr);
    EXPECT_EQ(info.PrepareToLoad(nullptr), "");
    EXPECT_EQ(info.CountChunks(), 0U);
}

TEST(ChipImageLoadingInformation, NamesACustomDownloadTypeThatNobodyServes) {
    CChipImageLoadingInformation info(CChipDownloadDescriptor(), false, nullptr);
    info.SetCustomDownloadType("Toaster");
    EXPECT_EQ(info.PrepareToLoad(nullptr), "Unrecognized custom download type Toaster");
    EXPECT_EQ(info.GetCustomDownloader(), nullptr);
}

TEST(ChipImageLoadingInformation, TheWordNullNamesNoConfigurationAndNoFirmware) {
    const CChipImageLoadingInformation null("NULL", "null", "Null");
    EXPECT_THAT(MinidriverFiles(null.GetDescriptor()), ElementsAre("NULL"));
    EXPECT_EQ(null.GetDescriptor().CountConfigDataFiles(), 0U);
    EXPECT_EQ(null.GetDescriptor().CountFirmwareFiles(), 0U);
    EXPECT_TRUE(null.IsVintorMode());

    const CChipImageLoadingInformation named("", "c.hex", nullptr);
    EXPECT_THAT(MinidriverFiles(named.GetDescriptor()), IsEmpty());
    EXPECT_EQ(OnlyConfigFile(named.GetDescriptor()), "c.hex");
    EXPECT_EQ(named.GetDescriptor().CountFirmwareFiles(), 0U);
}

TEST(ChipImageLoadingInformation, RulesAndArgumentsChooseTheFiles) {
    const CTempDir folder;
    CCommunicationParameters uart;
    ASSERT_EQ(uart.ParseCommParams(" PORT=/dev/ttyS0\n"), "");
    const struct {
        const char* m_szRules;
        const char* m_szFirmware;
        const char* m_szConfig;
        const char* m_szMinidriver;
        const char* m_szDirectory;
        const char* m_szExpectedFirmware;
        const char* m_szExpectedConfig;
        const char* m_szExpectedMinidriver;
    } cases[] = {
        // The rules give the paths, whatever else the set holds.
        {"DLConfig=1\nConfigPath=c.hex\nDLFirmware=0x2\nFirmwarePath=f.hex\n"
         "DLMinidriver=-1\nDLMinidriverPathUART=m.hex\nDLMinidriverPathUSB=usb.hex\n",
         nullptr, nullptr, nullptr, nullptr, "f.hex", "c.hex", "m.hex"},
        // Arguments win over paths, empty ones do not.
        {"DLConfig=1\nConfigPath=c.hex\nDLFirmware=1\nFirmwarePath=f.hex\n"
         "DLMinidriver=1\nDLMinidriverPathUART=m.hex\n",
         "F", "C", "M", nullptr, "F", "C", "M"},
        {"DLConfig=1\nConfigPath=c.hex\n", "", "", "", nullptr, "", "c.hex", ""},
        // Without its flag a file is not used, not even one that an argument names.
        {"DLConfig=0\nConfigPath=c.hex\nDLMinidriver=no\nDLMinidriverPathUART=m.hex\n", "F", "C",
         "M", nullptr, "", "", ""},
        {"DLConfig=1\nDLFirmware=1\n", nullptr, "NULL", nullptr, nullptr, "", "", ""},
        {"DLMinidriver=1\nDLMinidriverPathUART=[MINIDRIVERS]\\x.hex\n", nullptr, nullptr, nullptr,
         nullptr, "", "", "C:\\Program Files\\Orvane\\Vintor\\Minidrivers\\x.hex"},
        {"DLMinidriver=1\nDLMinidriverPathUART=[MINIDRIVERS]\\x.hex\n", nullptr, nullptr, nullptr,
         "D:\\drv\\", "", "", "D:\\drv\\x.hex"},
        {"DLMinidriver=1\nDLMinidriverPathUART=old\\[MINIDRIVERS]/x.hex\n", nullptr, nullptr,
         nullptr, "/opt/drv", "", "", "/opt/drv/x.hex"},
        {"DLMinidriver=1\nDLMinidriverPathUART=[MINIDRIVERS]\n", nullptr, nullptr, nullptr, "D:\\",
         "", "", "D:\\"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.m_szRules);
        const std::string vnp =
            folder.Write("rules.vnp", std::string("DevicePreset = \"A\"\n") + c.m_szRules);
        const CChipImageLoadingInformation info(vnp.c_str(), uart, c.m_szFirmware, c.m_szConfig,
                                                c.m_szMinidriver, c.m_szDirectory, nullptr);
        const CChipDownloadDescriptor& descriptor = info.GetDescriptor();
        EXPECT_EQ(OnlyFirmwareFile(descriptor), c.m_szExpectedFirmware);
        EXPECT_EQ(OnlyConfigFile(descriptor), c.m_szExpectedConfig);
        if (*c.m_szExpectedMinidriver == '\0') {
            EXPECT_THAT(MinidriverFiles(descriptor), IsEmpty());
        } else {
            EXPECT_THAT(MinidriverFiles(descriptor), ElementsAre(c.m_szExpectedMinidriver));
        }
        EXPECT_TRUE(info.IsVintorMode());
        EXPECT_EQ(descriptor.CountRuleSets(), 1U);
        EXPECT_EQ(info.GetVnpFileNameIfSpecified(), vnp);
        EXPECT_EQ(info.GetCustomDLTypeIfSpecified(), nullptr);
    }
}

TEST(ChipImageLoadingInformation, ACustomDownloadTakesTheArgumentsAsTheyAre) {
    const CTempDir folder;
    const std::string vnp = folder.Write("rules.vnp",
                                         "DevicePreset = \"A\"\nCustomDownload = x4410a\n"
                                         "DLConfig = 0\nConfigPath = c.hex\n");
    const CChipImageLoadingInformation info(vnp.c_str(), CCommunicationParameters(), "", "NULL",
                                            "m.hex", nullptr, nullptr);
    EXPECT_STREQ(info.GetCustomDLTypeIfSpecified(), "x4410a");
    EXPECT_FALSE(info.IsVintorMode());
    EXPECT_EQ(OnlyConfigFile(info.GetDescriptor()), "NULL");
    EXPECT_THAT(MinidriverFiles(info.GetDescriptor()), ElementsAre("m.hex"));
    EXPECT_EQ(info.GetDescriptor().CountFirmwareFiles(), 0U);
    EXPECT_EQ(info.GetDescriptor().CountRuleSets(), 1U);
}

TEST(ChipImageLoadingInformation, SuppliedImagesComeLastAndAreEnough) {
    std::vector<CChipImageByteData> images = {{"FIRMWARE", "ready-made", "memory"}};
    Bytes data = {1, 2, 3};
    images[0].AddRange(CByteBuffer(data.data(), 3, BYTE_BUFFER_OWNED));
    CChipImageLoadingInformation info(nullptr, CCommunicationParameters(), nullptr, nullptr,
                                      nullptr, nullptr, &images);
    ASSERT_EQ(info.PrepareToLoad(nullptr), "");
    ASSERT_EQ(info.CountChunks(), 1U);
    EXPECT_STREQ(info.GetChunk(0).GetName(), "ready-made");
    EXPECT_EQ(RangeBytes(info.GetChunk(0), 0), data);
}

TEST(ChipImageLoadingInformation, FindsChunksByNameAndKindWhateverTheirCase) {
    CChipImageLoadingInformation info(CChipDownloadDescriptor(), false, nullptr);
    info.AddChunk({"FIRMWARE", "one", ""});
    info.AddChunk({"config", "two", ""});
    info.AddChunk({"Firmware", "Two", ""});
    constexpr unsigned int NONE = 0xFFFFFFFFU;
    const struct {
        const char* m_szName;
        const char* m_szKind;
        unsigned int m_nStart;
        unsigned int m_nExpected;
    } cases[] = {
        {nullptr, "firmware", 0, 0},      {nullptr, "FIRMWARE", 1, 2},
        {nullptr, "CONFIG", 0, 1},        {nullptr, "CONFIG", 2, NONE},
        {nullptr, "MINIDRIVER", 0, NONE}, {"TWO", nullptr, 0, 1},
        {"two", "FIRMWARE", 0, 2},        {nullptr, nullptr, 1, 1},
        {nullptr, nullptr, 3, NONE},      {nullptr, nullptr, NONE, NONE},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(info.FindNextDataChunk(c.m_szName, c.m_szKind, c.m_nStart), c.m_nExpected)
            << c.m_nStart;
    }
}

TEST(ChipImageLoadingInformation, TellsTheMemoryTypeFromTheFirstRuleSet) {
    const struct {
        const char* m_szTargeting;
        const char* m_szExpected;
    } cases[] = {
        {"serial flash", "FLASH"},     {"ram", "RAM"}, {"ROM", "???"}, {"NVRAM/Flash", "FLASH"},
        {"flash or eeprom", "EEPROM"},
    };
    for (const auto& c : cases) {
        CDownloadRulesSet rules("");
        ASSERT_EQ(rules.SetDownloadParameter("DLConfigTargeting", c.m_szTargeting, false), "");
        CDownloadRulesSet second("");
        ASSERT_EQ(second.SetDownloadParameter("DLConfigTargeting", "EEPROM", false), "");
        CChipDownloadDescriptor descriptor;
        descriptor.AddRuleSet(rules);
        descriptor.AddRuleSet(second);
        std::string error;
        const CChipImageLoadingInformation info(descriptor, false, nullptr);
        EXPECT_EQ(info.GetVintorMemoryType(&error), c.m_szExpected) << c.m_szTargeting;
        EXPECT_EQ(error, "");
    }
}

TEST(ChipImageLoadingInformation, ARuleSetHasToSayTheMemoryType) {
    std::string error;
    const CChipImageLoadingInformation noRules(CChipDownloadDescriptor(), false, nullptr);
    EXPECT_EQ(noRules.GetVintorMemoryType(&error), "");
    EXPECT_EQ(error, "");

    CChipDownloadDescriptor descriptor;
    descriptor.AddRuleSet(CDownloadRulesSet(""));
    const CChipImageLoadingInformation silent(descriptor, false, nullptr);
    EXPECT_EQ(silent.GetVintorMemoryType(&error), "");
    EXPECT_THAT(error, testing::HasSubstr("DLConfigTargeting"));
}

TEST(ChipImageLoadingInformation, OverridesAreUnsetUntilTheUserSaysSomething) {
    CChipImageLoadingInformation info(CChipDownloadDescriptor(), false, nullptr);
    EXPECT_THAT((std::vector{info.GetNeedToErase(), info.GetNeedToWrite(), info.GetNeedToVerify(),
                             info.GetNeedToCheckCRC()}),
                ElementsAre(-1, -1, -1, -1));
    info.SetNeedToErase(false);
    info.SetNeedToWrite(true);
    info.SetNeedToVerify(false);
    info.SetNeedToCheckCRC(true);
    const CChipImageLoadingInformation copy(info);
    EXPECT_THAT((std::vector{copy.GetNeedToErase(), copy.GetNeedToWrite(), copy.GetNeedToVerify(),
                             copy.GetNeedToCheckCRC()}),
                ElementsAre(0, 1, 0, 1));
}

}  // namespace
