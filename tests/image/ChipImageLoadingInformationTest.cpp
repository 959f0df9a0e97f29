#include "image/ChipImageLoadingInformation.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <thread>

#include "image/ImageText.h"
#include "support/CaseFile.h"
#include "support/SampleImages.h"
#include "support/TempDir.h"
#include "transport/CommunicationParameters.h"
#include "util/TextLines.h"

namespace {

constexpr char NO_CONVERSION[] = "NOT_IMPLEMENTED_CGS_TO_BINARY_CONVERSION";

using Names = std::vector<std::string>;

CChipImageLoadingInformation InfoOf(const Names& minidrivers, const Names& configs,
                                    const Names& firmwares, bool isVintorMode = true) {
    CChipDownloadDescriptor descriptor;
    for (const std::string& name : minidrivers) {
        descriptor.AddMinidriverFileName(name);
    }
    for (const std::string& name : configs) {
        descriptor.AddConfigDataFileName(name);
    }
    for (const std::string& name : firmwares) {
        descriptor.AddFirmwareFileName(name);
    }
    CChipImageLoadingInformation info(descriptor, false, nullptr);
    if (isVintorMode) {
        info.MarkVintorMode();
    }
    return info;
}

TEST(ChipImageLoadingInformation, LoadsMinidriverThenConfigurationThenFirmware) {
    const CTempDir folder;
    const std::string minidriver = folder.Write("m.hcd", HcdFile({{0x100, {9, 10}}}, 0x101));
    const std::string hcd =
        folder.Write("c.hcd", HcdFile({{0x400, {5, 6}}, {0x402, {7}}}, 0xFFFF0000U));
    const std::string config = folder.Write("c.hex", IntelHexText({{0x500, {8}}}));
    const std::string first = folder.Write("1.hex", IntelHexText({{0x200000, {1, 2, 3}}}));
    const std::string second = folder.Write("2.hex", IntelHexText({{0x300000, {4}}}));
    const struct {
        const char* m_szKind;
        const char* m_szName;
        std::string m_strFile;
        const char* m_szImage;
    } expected[] = {
        {"MINIDRIVER", "The minidriver code", minidriver, "first 100, launch 101: 100:090A"},
        {"CONFIG", "Configuration data", hcd, "first 400, launch -: 400:050607"},
        {"CONFIG", "Configuration data", config, "first 500, launch -: 500:08"},
        {"FIRMWARE", "Firmware code", first, "first 200000, launch -: 200000:010203"},
        {"FIRMWARE", "Firmware code", second, "first 300000, launch -: 300000:04"},
    };
    CChipImageLoadingInformation info = InfoOf({minidriver}, {hcd, config}, {first, second});
    // Preparing again starts over.
    for (int times = 0; times < 2; ++times) {
        ASSERT_EQ(info.PrepareToLoad(nullptr), "");
        ASSERT_EQ(info.CountChunks(), std::size(expected));
        for (unsigned int i = 0; i < info.CountChunks(); ++i) {
            const CChipImageByteData& chunk = info.GetChunk(i);
            EXPECT_STREQ(chunk.GetSourceType(), expected[i].m_szKind);
            EXPECT_STREQ(chunk.GetName(), expected[i].m_szName);
            EXPECT_EQ(chunk.GetSourceId(), expected[i].m_strFile);
            EXPECT_EQ(ImageText(chunk), expected[i].m_szImage);
        }
        // The launch record of the configuration, although nothing is loaded there.
        EXPECT_EQ(info.GetLaunchAddress(), 0xFFFF0000U);
    }
    // The minidriver's launch record is its own.
    CChipImageLoadingInformation noRecord = InfoOf({minidriver}, {config}, {});
    EXPECT_EQ(noRecord.PrepareToLoad(nullptr), "");
    EXPECT_EQ(noRecord.GetLaunchAddress(), 0U);
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
        CChipImageLoadingInformation m_Info;
        std::string m_strError;
        unsigned int m_nChunksLeft;
    } cases[] = {
        {"no data files", InfoOf({good}, {}, {}), "No data/code to load.", 0},
        {"two minidrivers, unread", InfoOf({missing, missing}, {good}, {}),
         "Cannot have multiple minidrivers in Vintor mode.", 0},
        {"minidriver is text", InfoOf({text}, {good}, {}),
         "Failed to read the minidriver file " + text, 0},
        {"configuration text", InfoOf({good}, {good, text}, {good}), NO_CONVERSION, 2},
        {"configuration missing", InfoOf({}, {missing}, {}), NO_CONVERSION, 0},
        {"firmware missing", InfoOf({}, {}, {missing}), "Could not open file " + missing, 0},
        {"firmware is no hex file", InfoOf({}, {good}, {good, hcd}), hexError, 2},
        // Outside Vintor mode, files are not even opened.
        {"reserved", InfoOf({missing, missing}, {missing}, {missing}, false), "", 0},
        {"empty load", CChipImageLoadingInformation("", "null", "NULL"), "No data/code to load.",
         0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.m_szName);
        CChipImageLoadingInformation info = c.m_Info;
        EXPECT_EQ(info.PrepareToLoad(nullptr), c.m_strError);
        EXPECT_EQ(info.CountChunks(), c.m_nChunksLeft);
    }
    CChipImageLoadingInformation empty(CChipDownloadDescriptor(), true, "");
    empty.MarkVintorMode();
    EXPECT_EQ(empty.PrepareToLoad(nullptr), "");
    EXPECT_EQ(empty.GetVnpFileNameIfSpecified(), nullptr);
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
    const std::string file = folder.Write("firmware.hex", hex);
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
            CChipImageLoadingInformation info =
                c.m_bIsMinidriver ? InfoOf({name}, {}, {file}) : InfoOf({}, {name}, {});
            std::string error = info.PrepareToLoad(nullptr);
            writer.join();
            ::close(ends[0]);
            if (error.ends_with(name)) {
                error.replace(error.size() - name.size(), name.size(), "NAME");
            }
            EXPECT_EQ(error, c.m_strError);
            if (error.empty()) {
                EXPECT_EQ(RangesText(info.GetChunk(0)), " 500:08");
            }
        }
    }
}

class CFakeAssistant : public CCustomDownloadAssistant {
public:
    using CCustomDownloadAssistant::CCustomDownloadAssistant;
    ~CFakeAssistant() override { ++s_nDestroyed; }
    std::string DownloadPrepare(CChipDownloader* /*downloader*/) override {
        Owner()->AddChunk({"CONFIG", "made", ""});
        return "as it says";
    }
    unsigned int ExecuteDownload(CChipDownloader* /*downloader*/) override { return 0; }

    inline static int s_nDestroyed = 0;
};

TEST(ChipImageLoadingInformation, ACustomDownloadIsPreparedByTheAssistantThatIsMade) {
    CChipImageLoadingInformation info(CChipDownloadDescriptor(), false, nullptr);
    info.SetCustomDownloadType("Toaster");
    EXPECT_EQ(info.PrepareToLoad(nullptr), "Unrecognized custom download type Toaster");
    info.SetCustomDownloadAssistantMaker(
        [](const char* type, CChipImageLoadingInformation* owner) -> CCustomDownloadAssistant* {
            return std::string("Toaster") == type ? new CFakeAssistant(owner) : nullptr;
        });
    for (int times = 1; times <= 2; ++times) {
        EXPECT_EQ(info.PrepareToLoad(nullptr), "as it says");
        EXPECT_EQ(info.CountChunks(), 1U);
        EXPECT_EQ(CFakeAssistant::s_nDestroyed, times - 1);
    }
    info.SetCustomDownloadType("toaster");
    EXPECT_EQ(info.PrepareToLoad(nullptr), "Unrecognized custom download type toaster");
}

// The argument of a case, or null.
const char* Argument(const FILE_CASE& testCase, const std::string& name) {
    for (const auto& [mark, text] : testCase.lines) {
        if (mark == '$' && text.starts_with(name + "=")) {
            return text.c_str() + name.size() + 1;
        }
    }
    return nullptr;
}

TEST(ChipImageLoadingInformation, RulesAndArgumentsChooseTheFiles) {
    const CTempDir folder;
    CCommunicationParameters uart;
    ASSERT_EQ(uart.ParseCommParams(" PORT=/dev/ttyS0\n"), "");
    for (const FILE_CASE& testCase : ReadCases(HCILOAD_TEST_DATA "/rule_driven.txt")) {
        SCOPED_TRACE(testCase.name);
        const std::string vnp =
            folder.Write("rules.vnp", "DevicePreset = \"A\"\n" + testCase.Text("|"));
        const CChipImageLoadingInformation info(
            vnp.c_str(), uart, Argument(testCase, "firmware"), Argument(testCase, "config"),
            Argument(testCase, "minidriver"), Argument(testCase, "directory"), nullptr);
        const CChipDownloadDescriptor& files = info.GetDescriptor();
        const char* custom = info.GetCustomDLTypeIfSpecified();
        std::string text = custom == nullptr ? "" : "custom " + std::string(custom) + "\n";
        for (unsigned int i = 0; i < files.CountMinidriverFiles(); ++i) {
            text += "minidriver " + files.GetMinidriverFile(i) + "\n";
        }
        for (unsigned int i = 0; i < files.CountConfigDataFiles(); ++i) {
            text += "config " + files.GetConfigDataFile(i) + "\n";
        }
        for (unsigned int i = 0; i < files.CountFirmwareFiles(); ++i) {
            text += "firmware " + files.GetFirmwareFile(i) + "\n";
        }
        EXPECT_EQ(text, testCase.Text(">"));
        EXPECT_EQ(info.IsVintorMode(), custom == nullptr);
        EXPECT_EQ(files.CountRuleSets(), 1U);
        EXPECT_EQ(info.GetVnpFileNameIfSpecified(), vnp);
    }
}

TEST(ChipImageLoadingInformation, SuppliedImagesComeLastAndAreEnough) {
    std::vector<CChipImageByteData> images = {{"FIRMWARE", "ready-made", "memory"}};
    Bytes data = {1, 2, 3};
    images[0].AddRange(CByteBuffer(data.data(), 3, BYTE_BUFFER_OWNED));
    // A VNP file that is not there is one without parameters.
    CChipImageLoadingInformation info("/nowhere.vnp", CCommunicationParameters(), nullptr, nullptr,
                                      nullptr, nullptr, &images);
    ASSERT_EQ(info.PrepareToLoad(nullptr), "");
    ASSERT_EQ(info.CountChunks(), 1U);
    EXPECT_STREQ(info.GetChunk(0).GetName(), "ready-made");
    EXPECT_EQ(RangesText(info.GetChunk(0)), " 0:010203");
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
        const char* m_szTargeting;  // null when the first set does not say
        const char* m_szExpected;
    } cases[] = {
        {"serial flash", "FLASH"},     {"ram", "RAM"}, {"ROM", "???"}, {"NVRAM/Flash", "FLASH"},
        {"flash or eeprom", "EEPROM"}, {nullptr, ""},
    };
    CDownloadRulesSet second("");
    EXPECT_EQ(second.SetDownloadParameter("DLConfigTargeting", "EEPROM", false), "");
    std::string error;
    for (const auto& c : cases) {
        CDownloadRulesSet rules("");
        (void)rules.SetDownloadParameter("DLConfigTargeting", c.m_szTargeting, false);
        CChipDownloadDescriptor descriptor;
        descriptor.AddRuleSet(rules);
        descriptor.AddRuleSet(second);
        const CChipImageLoadingInformation info(descriptor, false, nullptr);
        EXPECT_EQ(info.GetVintorMemoryType(&error), c.m_szExpected);
        EXPECT_EQ(error,
                  c.m_szTargeting != nullptr ? "" : "Missing download parameter DLConfigTargeting");
    }
    error.clear();
    EXPECT_EQ(InfoOf({}, {}, {}).GetVintorMemoryType(&error), "");
    EXPECT_EQ(error, "");
}

}  // namespace
