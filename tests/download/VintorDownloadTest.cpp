#include "download/VintorDownload.h"

#include <gmock/gmock.h>

#include "download/VintorImages.h"
#include "download/VintorMinidriver.h"
#include "support/DownloadSetup.h"
#include "support/FakeClock.h"
#include "support/SampleImages.h"

namespace {

using testing::ElementsAre;
using testing::StartsWith;

using Frames = std::vector<std::string>;
using Rules = std::map<std::string, std::string>;

const std::string FIRMWARE = IntelHexText({{0x200000, {1, 2, 3, 4, 5}}});
const std::string CONFIG = HcdFile({{0x400, {6, 7, 8}}}, 0x12345678);
const std::string MINIDRIVER = IntelHexText({{0x100, {9, 10, 11}}});

// The frames of a download of them, each with a letter.
const std::map<std::string, char> LETTERS = {
    {"01 03 0C 00", 'R'},                             // reset
    {"01 CE FF 04 EF EE BE FC", 'F'},                 // erase flash
    {"01 CE FF 04 00 00 00 FF", 'E'},                 // erase EEPROM
    {"01 4C FC 09 00 00 20 00 01 02 03 04 05", 'W'},  // write code
    {"01 4C FC 07 00 04 00 00 06 07 08", 'w'},        // write data
    {"01 CC FC 08 00 00 20 00 05 00 00 00", 'C'},     // CRC of code
    {"01 CC FC 08 00 04 00 00 03 00 00 00", 'c'},     // CRC of data
    {"01 4D FC 05 00 00 20 00 05", 'V'},              // read code
    {"01 4D FC 05 00 04 00 00 03", 'v'},              // read data
    {"01 4E FC 04 78 56 34 12", 'L'},                 // launch
};

CDownloadRequest CodeAndData(Rules rules) {
    CDownloadRequest request;
    request.m_Firmwares = {FIRMWARE};
    request.m_Configs = {CONFIG};
    request.m_Rules = std::move(rules);
    return request;
}

// Everything is wanted.
CDownloadRequest WholeDownload() {
    CDownloadRequest request = CodeAndData({{"DLConfigTargeting", "flash"},
                                            {"DLSectorEraseMode", "Chip erase"},
                                            {"DLWriteVerifyMode", "write verify"}});
    request.m_strMinidriver = MINIDRIVER;
    request.m_pfnOverride = [](auto& info) { info.SetNeedToCheckCRC(true); };
    return request;
}

// The whole sequence runs on the test's thread and takes no time.
class VintorDownload : public testing::Test {
protected:
    static DownloadStates PrepareAndRun(CDownloadSetup& setup) {
        EXPECT_EQ(setup.Prepare(), "");
        EXPECT_EQ(VintorDownloadingFunction(&setup.Downloader()), 0U);
        return setup.State();
    }

    const CFakeClock m_Clock;
};

TEST_F(VintorDownload, RulesAndOverridesDecideThePhases) {
    const struct {
        const char* m_szTargeting;  // "" = no rules
        const char* m_szEraseMode;
        const char* m_szWriteVerifyMode;
        const char* m_szOverrides;  // erase, write, verify, CRC: 0, 1 or none
        const char* m_szFrames;
    } cases[] = {
        {"", "", "", "----", "RWwL"},
        {"", "", "", "1---", "RWwL"},
        {"Serial Flash", "CHIP ERASE", "", "----", "RFWwL"},
        {"eeprom", "chip erase", "Verify", "----", "REVvL"},
        {"RAM runtime", "Chip erase", "write", "1---", "RWwL"},
        {"flash", "Written sectors only", "none", "----", "RL"},
        {"flash", "", "wRite & Verify", "----", "RWwVvL"},
        {"flash", "", "write", "1-11", "RFWCwcVvL"},
        {"flash", "", "none", "-1--", "RWwL"},
        {"flash", "Chip erase", "write verify", "0000", "RL"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.m_szOverrides) + c.m_szFrames);
        CDownloadRequest request = CodeAndData({{"DLConfigTargeting", c.m_szTargeting},
                                                {"DLSectorEraseMode", c.m_szEraseMode},
                                                {"DLWriteVerifyMode", c.m_szWriteVerifyMode}});
        std::erase_if(request.m_Rules, [](const auto& rule) { return rule.second.empty(); });
        request.m_pfnOverride = [&c](CChipImageLoadingInformation& info) {
            using Info = CChipImageLoadingInformation;
            int i = 0;
            for (const auto set : {&Info::SetNeedToErase, &Info::SetNeedToWrite,
                                   &Info::SetNeedToVerify, &Info::SetNeedToCheckCRC}) {
                const char choice = c.m_szOverrides[i++];
                if (choice != '-') {
                    (info.*set)(choice == '1');
                }
            }
        };
        CDownloadSetup setup(request);
        // Holds the image from the start, so that a run that only verifies succeeds.
        setup.Chip().Memory().Write(0x200000, Bytes{1, 2, 3, 4, 5});
        setup.Chip().Memory().Write(0x400, Bytes{6, 7, 8});
        EXPECT_EQ(PrepareAndRun(setup), DOWNLOAD_COMPLETED) << setup.Error();
        std::string frames;
        for (const std::string& frame : setup.Chip().m_Sent) {
            frames += LETTERS.contains(frame) ? std::string(1, LETTERS.at(frame)) : frame;
        }
        EXPECT_EQ(frames, c.m_szFrames);
    }
}

TEST_F(VintorDownload, LoadsAndLaunchesTheMinidriver) {
    const std::string elsewhere = HcdFile({{0x100, {9}}}, 0x999);
    const std::string inside = HcdFile({{0x100, {9, 10}}, {0x200, {12}}}, 0x101);
    const struct {
        std::string m_strFile;
        const char* m_szWriteSize;
        unsigned int m_nOverride;
        Frames m_Expected;
    } cases[] = {
        {MINIDRIVER, "2", 0, {"4C FC 06 00 01 00 00 09 0A", "4C FC 05 02 01 00 00 0B"}},
        {MINIDRIVER, "2", 3, {"4C FC 07 00 01 00 00 09 0A 0B", "4E FC 04 00 01 00 00"}},
        {MINIDRIVER, "many", 0, {"4C FC 07 00 01 00 00 09 0A 0B", "4E FC 04 00 01 00 00"}},
        {inside,
         "9",
         0,
         {"4C FC 06 00 01 00 00 09 0A", "4C FC 05 00 02 00 00 0C", "4E FC 04 01 01 00 00"}},
        {elsewhere, "9", 0, {"4C FC 05 00 01 00 00 09", "4E FC 04 00 01 00 00"}},
    };
    for (const auto& c : cases) {
        CDownloadRequest request =
            CodeAndData({{"DLConfigTargeting", "RAM"}, {"DLMaxWriteSize", c.m_szWriteSize}});
        request.m_strMinidriver = c.m_strFile;
        request.m_Configs.clear();
        request.m_pfnOverride = [&](auto& info) {
            info.SetDLMinidriverChunkSizeOverride(c.m_nOverride);
        };
        CDownloadSetup setup(request);
        EXPECT_EQ(PrepareAndRun(setup), DOWNLOAD_COMPLETED) << setup.Error();
        for (std::size_t i = 0; i < c.m_Expected.size(); ++i) {
            EXPECT_EQ(setup.Chip().m_Sent[i + 1], "01 " + c.m_Expected[i]);
        }
        // The minidriver has no say in where the code starts.
        EXPECT_EQ(setup.Chip().m_Sent.back(), "01 4E FC 04 00 00 00 00");
        EXPECT_THAT(AreasOf(setup.Downloader()), ElementsAre("00200000+5 CODE"));
    }
}

TEST_F(VintorDownload, TwoMinidriversAreNone) {
    CDownloadRequest request = CodeAndData({});
    request.m_strMinidriver = MINIDRIVER;
    CDownloadSetup setup(request);
    ASSERT_EQ(setup.Prepare(), "");
    setup.Downloader().DownloadInfo()->GetDescriptor().AddMinidriverFileName("another");
    VintorDownloadingFunction(&setup.Downloader());
    EXPECT_EQ(setup.Chip().m_Sent.size(), 4U);
    EXPECT_EQ(setup.State(), DOWNLOAD_COMPLETED);
}

TEST_F(VintorDownload, AnErrorTextFromTheTransportIsPassedOn) {
    const struct {
        CFakeChip::CFault m_Fault;
        std::string m_strError;
    } cases[] = {
        {{"01 CE", {"04 FF 01 CE"}, "gone"}, "gone"},
        {{"01 CC FC 08 00 04", {"04 0E 08 01 CC FC 00 78 56 34"}, "gone"},
         "CRC timeout while checking 3 bytes starting at address 0x00000400"},
        {{"01 4D FC 05 00 00", {"04 0E 09"}, "gone"}, "firmware0.img)   (gone)"},
        {{"01 4E FC 04 78", {}, "gone"}, "Chip reset to address 0x12345678 failed gone"},
    };
    for (const auto& c : cases) {
        CDownloadSetup setup(WholeDownload());
        setup.Chip().m_Faults = {c.m_Fault};
        EXPECT_EQ(PrepareAndRun(setup), DOWNLOAD_TERMINATED_WITH_ERROR);
        EXPECT_THAT(setup.Error(), testing::EndsWith(c.m_strError));
        EXPECT_THAT(setup.Chip().m_Sent.back(), StartsWith(c.m_Fault.m_strFrameStart));
    }
}

TEST_F(VintorDownload, NothingIsSentWithoutTheMemoryType) {
    CDownloadSetup setup(CodeAndData({{"DLMaxWriteSize", "32"}}));
    EXPECT_EQ(PrepareAndRun(setup), DOWNLOAD_TERMINATED_WITH_ERROR);
    EXPECT_THAT(setup.Error(), testing::HasSubstr("DLConfigTargeting"));
    EXPECT_TRUE(setup.Chip().m_Sent.empty());
}

// A wrong state ends a pass without a message, a missing image with one.
TEST_F(VintorDownload, APassNeedsItsStateAndItsImage) {
    const auto firmware = [](CChipDownloader* d) { return VintorDownloadFirmware(d, false); };
    const auto config = [](CChipDownloader* d) { return VintorDownloadConfigData(d, false); };
    const struct {
        DownloadStates m_State;
        bool (*m_pfnPass)(CChipDownloader*);
        const char* m_szError;
    } cases[] = {
        {DOWNLOAD_INITIALIZED, VintorDownloadMinidriver, "MINIDRIVER chunk not found!"},
        {DOWNLOAD_READY_TO_DOWNLOAD, VintorDownloadMinidriver,
         "VintorDownloadMinidriver: unexpected state Executing -- ready to download code or data"},
        {DOWNLOAD_READY_TO_DOWNLOAD, firmware, "FIRMWARE chunk not found!"},
        {DOWNLOAD_READY_TO_DOWNLOAD, config, "CONFIG chunk not found!"},
        {DOWNLOAD_READY_TO_VERIFY, VintorVerifyFirmware, "FIRMWARE chunk not found!"},
        {DOWNLOAD_READY_TO_VERIFY, VintorVerifyConfigData, "CONFIG chunk not found!"},
        {DOWNLOAD_READY_TO_VERIFY, firmware, ""},
        {DOWNLOAD_INITIALIZED, config, ""},
        {DOWNLOAD_READY_TO_DOWNLOAD, VintorVerifyFirmware, ""},
        {DOWNLOAD_VERIFYING_CODE, VintorVerifyConfigData, ""},
    };
    for (const auto& c : cases) {
        CDownloadSetup setup({});
        setup.Downloader().SetState(c.m_State);
        EXPECT_FALSE(c.m_pfnPass(&setup.Downloader()));
        EXPECT_EQ(setup.State(), *c.m_szError == '\0' ? c.m_State : DOWNLOAD_TERMINATED_WITH_ERROR);
        EXPECT_EQ(setup.Error(), c.m_szError);
    }
}

// Both lengths are one byte on the wire, the record's and the command's, which is 4 more.
TEST_F(VintorDownload, OnlyAWriteSizeOf1To251MakesWholeCommands) {
    const struct {
        const char* m_szSize;
        const char* m_szFirstFrame;
        std::size_t m_nFrames;  // the download is canceled at the tenth
        DownloadStates m_State;
    } cases[] = {
        {"251", "01 4C FC FF 00 00 20 00 ", 4, DOWNLOAD_COMPLETED},
        {"252", "01 4C FC 00 00 00 20 00 ", 2, DOWNLOAD_TERMINATED_WITH_ERROR},
        {"255", "01 4C FC 03 00 00 20 00 ", 2, DOWNLOAD_TERMINATED_WITH_ERROR},
        {"256", "01 4C FC 04 00 00 20 00", 10, DOWNLOAD_CANCELED},
        {"0", "01 4C FC 04 00 00 20 00", 10, DOWNLOAD_CANCELED},
        {"300", "01 4C FC 30 00 00 20 00 ", 10, DOWNLOAD_CANCELED},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.m_szSize);
        CDownloadRequest request;
        request.m_Firmwares = {IntelHexText({{0x200000, SampleBytes(300, 1)}})};
        request.m_Rules = {{"DLConfigTargeting", "RAM"}, {"DLMaxWriteSize", c.m_szSize}};
        CDownloadSetup setup(request);
        setup.Chip().m_pfnFrameSent = [&] {
            if (setup.Chip().m_Sent.size() == 10) {
                EXPECT_EQ(setup.Downloader().CancelDownload(0), "");
            }
        };
        EXPECT_EQ(PrepareAndRun(setup), c.m_State) << setup.Error();
        ASSERT_EQ(setup.Chip().m_Sent.size(), c.m_nFrames);
        EXPECT_THAT(setup.Chip().m_Sent[1], StartsWith(c.m_szFirstFrame));
    }
}

TEST_F(VintorDownload, APortThatIsNoUARTGetsNoPacketIndicator) {
    CDownloadSetup setup(CodeAndData({}));
    CFakeChip chip(" PORT=/dev/spi0\n");
    CChipDownloader downloader(setup.Info(), &chip);
    ASSERT_EQ(downloader.PrepareForDownload(), "");
    VintorDownloadingFunction(&downloader);
    EXPECT_THAT(chip.m_Sent,
                ElementsAre("2E FC 00", "03 0C 00", "4C FC 09 00 00 20 00 01 02 03 04 05",
                            "4C FC 07 00 04 00 00 06 07 08", "4E FC 04 78 56 34 12"));
}

// Whether the current step fails or not, no other follows and the download stays canceled.
TEST_F(VintorDownload, ACancelStopsAfterTheCurrentStep) {
    // Reset; minidriver and its launch; erase; two ranges of firmware, each with a CRC; the same
    // for configuration; both read back; launch.
    const char* const lastFrames[] = {"01 03 0C 00",          "01 4C FC 06 00 01",
                                      "01 4E FC 04 00 01",    "01 CE FF",
                                      "01 4C FC 06 00 00 20", "01 4C FC 06 02 00 20",
                                      "01 CC FC 08 00 00 20", "01 CC FC 08 00 00 30",
                                      "01 4C FC 06 00 04",    "01 CC FC 08 00 04",
                                      "01 4D FC 05 02 00 20", "01 4D FC 05 00 00 30",
                                      "01 4D FC 05 02 04",    "01 4E FC 04 78"};
    for (const char* lastFrame : lastFrames) {
        for (const bool stepFails : {false, true}) {
            SCOPED_TRACE(std::string(lastFrame) + (stepFails ? " fails" : ""));
            CDownloadRequest request = WholeDownload();
            request.m_Firmwares = {IntelHexText({{0x200000, {1, 2, 3, 4}}, {0x300000, {5}}})};
            request.m_Rules["DLMaxWriteSize"] = "2";
            CDownloadSetup setup(request);
            ASSERT_EQ(setup.Prepare(), "");
            if (stepFails) {
                setup.Chip().m_Faults = {{lastFrame, {}, "RxOverflow"}};
            }
            setup.Chip().m_pfnFrameSent = [&] {
                if (setup.Chip().m_Sent.back().starts_with(lastFrame)) {
                    EXPECT_EQ(setup.Downloader().CancelDownload(1000), "");
                }
            };
            VintorDownloadingFunction(&setup.Downloader());
            EXPECT_EQ(setup.State(), DOWNLOAD_CANCELED);
            EXPECT_EQ(setup.Error().empty(), !stepFails);
            EXPECT_THAT(setup.Chip().m_Sent.back(), StartsWith(lastFrame));
        }
    }
}

}  // namespace
