#include <gmock/gmock.h>

#include "download/VintorCommands.h"
#include "download/VintorDownload.h"
#include "download/VintorImages.h"
#include "download/VintorMinidriver.h"
#include "support/DownloadSetup.h"
#include "support/SampleImages.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;

using Frames = std::vector<std::string>;
using Override = std::function<void(CChipImageLoadingInformation&)>;

// Five bytes of code, three of data behind a launch record, three of minidriver.
const std::string FIRMWARE = IntelHexText({{0x200000, {1, 2, 3, 4, 5}}});
const std::string CONFIG = HcdFile({{0x400, {6, 7, 8}}}, 0x12345678);
const std::string MINIDRIVER = IntelHexText({{0x100, {9, 10, 11}}});

constexpr char RESET[] = "01 03 0C 00";
constexpr char LAUNCH[] = "01 4E FC 04 78 56 34 12";
constexpr char ERASE_FLASH[] = "01 CE FF 04 EF EE BE FC";
constexpr char ERASE_EEPROM[] = "01 CE FF 04 00 00 00 FF";
constexpr char WRITE_CODE[] = "01 4C FC 09 00 00 20 00 01 02 03 04 05";
constexpr char WRITE_DATA[] = "01 4C FC 07 00 04 00 00 06 07 08";
constexpr char CRC_CODE[] = "01 CC FC 08 00 00 20 00 05 00 00 00";
constexpr char CRC_DATA[] = "01 CC FC 08 00 04 00 00 03 00 00 00";
constexpr char READ_CODE[] = "01 4D FC 05 00 00 20 00 05";
constexpr char READ_DATA[] = "01 4D FC 05 00 04 00 00 03";

CDownloadRequest CodeAndData(std::map<std::string, std::string> rules, Override override = {}) {
    CDownloadRequest request;
    request.m_Firmwares = {FIRMWARE};
    request.m_Configs = {CONFIG};
    request.m_Rules = std::move(rules);
    request.m_pfnOverride = std::move(override);
    return request;
}

// Prepares and runs the whole sequence on this thread.
DownloadStates PrepareAndRun(CDownloadSetup& setup) {
    EXPECT_EQ(setup.Prepare(), "");
    EXPECT_EQ(VintorDownloadingFunction(&setup.Downloader()), 0U);
    return setup.State();
}

TEST(VintorDownload, RulesAndOverridesDecideThePhases) {
    const Override eraseVerifyAndCRC = [](auto& info) {
        info.SetNeedToErase(true);
        info.SetNeedToVerify(true);
        info.SetNeedToCheckCRC(true);
    };
    const Override nothing = [](auto& info) {
        info.SetNeedToErase(false);
        info.SetNeedToWrite(false);
        info.SetNeedToVerify(false);
        info.SetNeedToCheckCRC(false);
    };
    const struct {
        const char* m_szName;
        std::map<std::string, std::string> m_Rules;
        Override m_pfnOverride;
        Frames m_Expected;
    } cases[] = {
        {"no rules", {}, {}, {RESET, WRITE_CODE, WRITE_DATA, LAUNCH}},
        {"erase mode on flash",
         {{"DLConfigTargeting", "Serial Flash"}, {"DLSectorEraseMode", "CHIP ERASE"}},
         {},
         {RESET, ERASE_FLASH, WRITE_CODE, WRITE_DATA, LAUNCH}},
        {"erase mode on EEPROM, verify only",
         {{"DLConfigTargeting", "eeprom"},
          {"DLSectorEraseMode", "chip erase"},
          {"DLWriteVerifyMode", "Verify"}},
         {},
         {RESET, ERASE_EEPROM, READ_CODE, READ_DATA, LAUNCH}},
        {"erase mode on RAM, write only",
         {{"DLConfigTargeting", "RAM runtime"},
          {"DLSectorEraseMode", "Chip erase"},
          {"DLWriteVerifyMode", "write"}},
         {},
         {RESET, WRITE_CODE, WRITE_DATA, LAUNCH}},
        {"other modes",
         {{"DLConfigTargeting", "flash"},
          {"DLSectorEraseMode", "Written sectors only"},
          {"DLWriteVerifyMode", "none"}},
         {},
         {RESET, LAUNCH}},
        {"write and verify",
         {{"DLConfigTargeting", "flash"}, {"DLWriteVerifyMode", "Write & Verify"}},
         {},
         {RESET, WRITE_CODE, WRITE_DATA, READ_CODE, READ_DATA, LAUNCH}},
        {"overrides switch on",
         {{"DLConfigTargeting", "flash"}, {"DLWriteVerifyMode", "write"}},
         eraseVerifyAndCRC,
         {RESET, ERASE_FLASH, WRITE_CODE, CRC_CODE, WRITE_DATA, CRC_DATA, READ_CODE, READ_DATA,
          LAUNCH}},
        {"overrides switch off",
         {{"DLConfigTargeting", "flash"},
          {"DLSectorEraseMode", "Chip erase"},
          {"DLWriteVerifyMode", "write verify"}},
         nothing,
         {RESET, LAUNCH}},
        {"RAM is not erased, whoever asks",
         {{"DLConfigTargeting", "RAM"}},
         [](auto& info) { info.SetNeedToErase(true); },
         {RESET, WRITE_CODE, WRITE_DATA, LAUNCH}},
        {"nor is memory of unknown kind",
         {},
         [](auto& info) { info.SetNeedToErase(true); },
         {RESET, WRITE_CODE, WRITE_DATA, LAUNCH}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.m_szName);
        CDownloadSetup setup(CodeAndData(c.m_Rules, c.m_pfnOverride));
        // A chip that already holds the image, so that verifying alone succeeds.
        setup.Chip().Memory().Write(0x200000, FromHex("01 02 03 04 05"));
        setup.Chip().Memory().Write(0x400, FromHex("06 07 08"));
        EXPECT_EQ(PrepareAndRun(setup), DOWNLOAD_COMPLETED) << setup.Error();
        EXPECT_EQ(setup.Chip().m_Sent, c.m_Expected);
    }
}

TEST(VintorDownload, ReportsEachStepInOrder) {
    CDownloadRequest request = CodeAndData({{"DLConfigTargeting", "flash"},
                                            {"DLSectorEraseMode", "Chip erase"},
                                            {"DLWriteVerifyMode", "Write and verify"},
                                            {"DLMaxWriteSize", "20"}},
                                           [](auto& info) { info.SetNeedToCheckCRC(true); });
    request.m_strMinidriver = MINIDRIVER;
    request.m_Firmwares = {IntelHexText({{0x200000, SampleBytes(23, 1)}})};
    request.m_Configs = {IntelHexText({{0x400, Bytes(17, 0xAB)}, {0x500, {1}}})};
    CDownloadSetup setup(request);
    EXPECT_EQ(PrepareAndRun(setup), DOWNLOAD_COMPLETED) << setup.Error();

    const Bytes code = SampleBytes(23, 1);
    const std::string codeStart = ToHex(Bytes(code.begin(), code.begin() + 16)) + " ...";
    const std::string codeEnd = ToHex(Bytes(code.begin() + 20, code.end()));
    const std::string data = ToHex(Bytes(17, 0xAB));
    EXPECT_THAT(
        setup.NewDetails(),
        ElementsAre(
            "Download minidriver successfully had written 3 bytes to address 0x00000100",
            "Launch minidriver at 0x00000100 succeeded",
            "Download firmware successfully had written 20 bytes to address 0x00200000:  " +
                codeStart,
            "Download firmware successfully had written 3 bytes to address 0x00200014:  " + codeEnd,
            "Download config successfully had written 17 bytes to address 0x00000400:  " + data,
            "Download config successfully had written 1 bytes to address 0x00000500:  01",
            "Download firmware successfully verified 20 bytes at address 0x00200000:  " + codeStart,
            "Download firmware successfully verified 3 bytes at address 0x00200014:  " + codeEnd,
            "Download config successfully had verified 17 bytes at address 0x00000400:  " + data,
            "Download config successfully had verified 1 bytes at address 0x00000500:  01",
            "Chip reset to address 0x00000000 succeeded"));
    // Verified code is listed again, verified data is not.
    EXPECT_THAT(AreasOf(setup.Downloader()), ElementsAre("00200000+23 CODE", "00000400+17 DATA",
                                                         "00000500+1 DATA", "00200000+23 CODE"));
    unsigned int codeWritten = 0;
    unsigned int dataWritten = 0;
    unsigned int codeVerified = 0;
    unsigned int dataVerified = 0;
    setup.Downloader().GetStatus(&codeWritten, &dataWritten, &codeVerified, &dataVerified);
    EXPECT_THAT((std::vector{codeWritten, dataWritten, codeVerified, dataVerified}),
                ElementsAre(23U, 18U, 23U, 18U));
    unsigned int address = 1;
    int size = 0;
    int position = 0;
    bool isCode = false;
    setup.Downloader().GetCurrentDownloadBlockInfo(&address, &size, &position, &isCode);
    EXPECT_EQ(address, 0U);
    EXPECT_EQ(size, -1);
    EXPECT_EQ(position, -1);
}

TEST(VintorDownload, LoadsAndLaunchesTheMinidriver) {
    const std::string withLaunchRecord = HcdFile({{0x100, {9, 10, 11}}, {0x200, {12}}}, 0x101);
    const std::string launchElsewhere = HcdFile({{0x100, {9}}}, 0x999);
    const struct {
        const char* m_szName;
        std::string m_strFile;
        std::map<std::string, std::string> m_Rules;
        unsigned int m_nOverride;
        Frames m_Expected;
    } cases[] = {
        {"in the size of all records",
         MINIDRIVER,
         {{"DLConfigTargeting", "RAM"}, {"DLMaxWriteSize", "2"}},
         0,
         {"01 4C FC 06 00 01 00 00 09 0A", "01 4C FC 05 02 01 00 00 0B",
          "01 4E FC 04 00 01 00 00"}},
        {"in its own size",
         MINIDRIVER,
         {{"DLConfigTargeting", "RAM"}, {"DLMaxWriteSize", "2"}},
         3,
         {"01 4C FC 07 00 01 00 00 09 0A 0B", "01 4E FC 04 00 01 00 00"}},
        {"32 bytes when the rules say no number",
         MINIDRIVER,
         {{"DLConfigTargeting", "RAM"}, {"DLMaxWriteSize", "many"}},
         0,
         {"01 4C FC 07 00 01 00 00 09 0A 0B", "01 4E FC 04 00 01 00 00"}},
        {"to where its launch record points",
         withLaunchRecord,
         {},
         0,
         {"01 4C FC 07 00 01 00 00 09 0A 0B", "01 4C FC 05 00 02 00 00 0C",
          "01 4E FC 04 01 01 00 00"}},
        {"unless that is outside of it",
         launchElsewhere,
         {},
         0,
         {"01 4C FC 05 00 01 00 00 09", "01 4E FC 04 00 01 00 00"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.m_szName);
        CDownloadRequest request = CodeAndData(c.m_Rules, [&](auto& info) {
            info.SetDLMinidriverChunkSizeOverride(c.m_nOverride);
            info.SetNeedToWrite(false);
        });
        request.m_strMinidriver = c.m_strFile;
        CDownloadSetup setup(request);
        EXPECT_EQ(PrepareAndRun(setup), DOWNLOAD_COMPLETED) << setup.Error();
        Frames expected = c.m_Expected;
        expected.insert(expected.begin(), RESET);
        expected.emplace_back(LAUNCH);
        EXPECT_EQ(setup.Chip().m_Sent, expected);
        EXPECT_THAT(AreasOf(setup.Downloader()), IsEmpty());
    }
}

TEST(VintorDownload, TwoMinidriversAreNone) {
    CDownloadRequest request = CodeAndData({});
    request.m_strMinidriver = MINIDRIVER;
    CDownloadSetup setup(request);
    ASSERT_EQ(setup.Prepare(), "");
    setup.Downloader().DownloadInfo()->GetDescriptor().AddMinidriverFileName("another");
    VintorDownloadingFunction(&setup.Downloader());
    EXPECT_THAT(setup.Chip().m_Sent, ElementsAre(RESET, WRITE_CODE, WRITE_DATA, LAUNCH));
}

TEST(VintorDownload, AddressesReachTheEndOf32Bits) {
    const Bytes code = SampleBytes(16, 3);
    CDownloadRequest request;
    request.m_Firmwares = {IntelHexText({{0xFFFFFFF0U, code}})};
    request.m_Configs = {HcdFile({{0xFFFFFFFFU, {0x5A}}}, std::nullopt)};
    request.m_Rules = {{"DLConfigTargeting", "RAM"},
                       {"DLMaxWriteSize", "12"},
                       {"DLWriteVerifyMode", "write verify"}};
    request.m_pfnOverride = [](auto& info) { info.SetNeedToCheckCRC(true); };
    CDownloadSetup setup(request);
    // The data replace the last byte of the code, so only they verify.
    setup.Chip().m_Faults = {{"01 4D FC 05 FC FF FF FF 04",
                              {"04 0E 08 01 4D FC 00", ToHex(Bytes(code.begin() + 12, code.end()))},
                              ""}};
    EXPECT_EQ(PrepareAndRun(setup), DOWNLOAD_COMPLETED) << setup.Error();
    EXPECT_THAT(setup.Chip().m_Sent,
                testing::IsSupersetOf(
                    {"01 CC FC 08 F0 FF FF FF 10 00 00 00", "01 4C FC 05 FF FF FF FF 5A",
                     "01 CC FC 08 FF FF FF FF 01 00 00 00", "01 4D FC 05 FF FF FF FF 01"}));
    EXPECT_THAT(AreasOf(setup.Downloader()),
                ElementsAre("FFFFFFF0+16 CODE", "FFFFFFFF+1 DATA", "FFFFFFF0+16 CODE"));
    ASSERT_EQ(setup.Chip().Memory().WrittenRegions().size(), 1U);
    EXPECT_EQ(setup.Chip().Memory().WrittenRegions()[0].bytes.size(), 16U);
}

// Each failure ends the sequence with one text and no further command.
struct CFailure {
    const char* m_szName;
    CFakeChip::CFault m_Fault;
    std::string m_strError;
};

void PrintTo(const CFailure& failure, std::ostream* out) {
    *out << failure.m_szName;
}

class VintorDownloadFailure : public testing::TestWithParam<CFailure> {};

TEST_P(VintorDownloadFailure, IsReported) {
    CDownloadRequest request = CodeAndData({{"DLConfigTargeting", "flash"},
                                            {"DLSectorEraseMode", "Chip erase"},
                                            {"DLWriteVerifyMode", "write verify"}},
                                           [](auto& info) { info.SetNeedToCheckCRC(true); });
    request.m_strMinidriver = MINIDRIVER;
    CDownloadSetup setup(request);
    setup.Chip().m_Faults = {GetParam().m_Fault};
    EXPECT_EQ(PrepareAndRun(setup), DOWNLOAD_TERMINATED_WITH_ERROR);
    const std::string source =
        "   (SOURCE:  FIRMWARE   Firmware code   " + setup.PathOf("firmware0.img") + ")";
    const std::string dataSource =
        "   (SOURCE:  CONFIG   Configuration data   " + setup.PathOf("config0.img") + ")";
    std::string expected = GetParam().m_strError;
    for (const auto& [mark, text] : {std::pair{"$CODE", source}, {"$DATA", dataSource}}) {
        if (const std::size_t at = expected.find(mark); at != std::string::npos) {
            expected.replace(at, 5, text);
        }
    }
    EXPECT_EQ(setup.Error(), expected);
    EXPECT_THAT(setup.Chip().m_Sent.back(),
                testing::StartsWith(GetParam().m_Fault.m_strFrameStart));
}

constexpr char GONE[] = "port is gone";

INSTANTIATE_TEST_SUITE_P(
    Text, VintorDownloadFailure,
    testing::Values(
        CFailure{"Reset", {RESET, {}, ""}, "Failed to execute HCI Reset"},
        CFailure{"MinidriverRecord",
                 {"01 4C FC 07 00 01", {}, GONE},
                 "Download minidriver error trying to write 3 bytes to address 0x00000100"},
        CFailure{"MinidriverLaunch",
                 {"01 4E FC 04 00 01", {}, GONE},
                 "Launch minidriver at 0x00000100 failed"},
        CFailure{"EraseReadError", {ERASE_FLASH, {"04 FF 01 CE"}, GONE}, GONE},
        CFailure{"EraseNoise", {ERASE_FLASH, {RepeatedHex("55", 128)}, ""}, "Rx buffer full!"},
        CFailure{"CodeRecord",
                 {WRITE_CODE, {}, GONE},
                 "Download firmware error trying to write 5 bytes to address 0x00200000 $CODE"},
        CFailure{"CodeRecordUnanswered",
                 {WRITE_CODE, {"04 0E 04 01 4C FC 01"}, ""},
                 "Download firmware error trying to write 5 bytes to address 0x00200000 $CODE"},
        CFailure{"DataRecord",
                 {WRITE_DATA, {}, GONE},
                 "Download config error trying to write 3 bytes to address 0x00000400 $DATA"},
        CFailure{"CodeCRC",
                 {CRC_CODE, {"04 0E 08 01 CC FC 00 78 56 34 12"}, ""},
                 "CRC mismatch while checking 5 bytes starting at address 0x00200000; host "
                 "computed 470B99F4, firmware computed 12345678"},
        CFailure{"DataCRC",
                 {CRC_DATA, {"04 0E 08 01 CC FC 00 78 56 34"}, GONE},
                 "CRC timeout while checking 3 bytes starting at address 0x00000400"},
        CFailure{"CodeReadBack",
                 {READ_CODE, {"04 0E 09 01 4D FC 00 01 02 FE 04 FF"}, ""},
                 "Download firmware error trying to verify 5 bytes to address 0x00200000 $CODE   "
                 "(Data mismatch at address 0x00200002. Expected byte value 0x03 but device "
                 "contains 0xFE)"},
        CFailure{"CodeReadBackAfterNoise",
                 {READ_CODE, {"55 04 0E 09 01 4D FC 00 01 02 03 04 05"}, ""},
                 "Download firmware error trying to verify 5 bytes to address 0x00200000 $CODE   "
                 "(Data mismatch at address 0x00200000. Expected byte value 0x01 but device "
                 "contains 0x00)"},
        CFailure{"CodeReadBackReadError",
                 {READ_CODE, {"04 0E 09"}, GONE},
                 "Download firmware error trying to verify 5 bytes to address 0x00200000 $CODE   "
                 "(port is gone)"},
        CFailure{"DataReadBackUnanswered",
                 {READ_DATA, {}, ""},
                 "Download config error trying to verify 3 bytes at address 0x00000400 $DATA "
                 "(Verify record request did not get completed by the firmware)"},
        CFailure{"LaunchUnanswered", {LAUNCH, {}, ""}, "Chip reset to address 0x12345678 failed "},
        CFailure{"LaunchReadError",
                 {LAUNCH, {}, GONE},
                 "Chip reset to address 0x12345678 failed port is gone"}),
    [](const auto& failure) { return failure.param.m_szName; });

TEST(VintorDownload, SurvivesWhatSlowAndNoisyLinesDo) {
    const CFakeChip::CFault faults[] = {
        {RESET, {"04 0E", "", "04 01 03", "0C 00"}, ""},
        {WRITE_CODE, {"55 AA 04 0E 04", "", "01 4C FC 00"}, ""},
        {CRC_CODE, {"55", "04 0E 08 01 CC FC 00 F4 99 0B", "", "47"}, ""},
        // Reading back starts with a silent line, whatever the command before it left behind.
        {CRC_DATA, {"04 0E 08 01 CC FC 00 55 BB 56 BA", "55", "", "55 AA"}, ""},
        {READ_CODE, {"04", "0E 09 01 4D FC 00 01 02", "", "03 04 05"}, ""},
        // The end of an erase counts wherever it stands, a marker only at the end.
        {ERASE_FLASH, {"04 FF 01 CE", "", "04 FF 01", "CE", "04 0E 04 01 CE FF 00 FF 01 CE"}, ""},
    };
    for (const CFakeChip::CFault& fault : faults) {
        SCOPED_TRACE(fault.m_strFrameStart);
        CDownloadSetup setup(CodeAndData({{"DLConfigTargeting", "flash"}}, [](auto& info) {
            info.SetNeedToErase(true);
            info.SetNeedToVerify(true);
            info.SetNeedToCheckCRC(true);
        }));
        setup.Chip().m_Faults = {fault};
        EXPECT_EQ(PrepareAndRun(setup), DOWNLOAD_COMPLETED) << setup.Error();
        const bool erased = fault.m_strFrameStart == ERASE_FLASH;
        const std::vector<std::string> details = setup.NewDetails();
        EXPECT_EQ(std::count(details.begin(), details.end(), "Chip erase in progress"),
                  erased ? 1 : 0);
    }
}

TEST(VintorDownload, NothingIsSentWithoutTheMemoryType) {
    CDownloadSetup setup(CodeAndData({{"DLMaxWriteSize", "32"}}));
    EXPECT_EQ(PrepareAndRun(setup), DOWNLOAD_TERMINATED_WITH_ERROR);
    EXPECT_THAT(setup.Error(), HasSubstr("DLConfigTargeting"));
    EXPECT_THAT(setup.Chip().m_Sent, IsEmpty());
}

TEST(VintorDownload, APhaseInAWrongStateEndsWithoutAWord) {
    bool (*const phases[])(CChipDownloader*) = {
        [](CChipDownloader* downloader) { return VintorDownloadFirmware(downloader, false); },
        [](CChipDownloader* downloader) { return VintorDownloadConfigData(downloader, false); },
        VintorVerifyFirmware,
        VintorVerifyConfigData,
    };
    for (const auto& phase : phases) {
        CDownloadSetup setup(CodeAndData({}));
        ASSERT_EQ(setup.Prepare(), "");
        EXPECT_FALSE(phase(&setup.Downloader()));
        EXPECT_EQ(setup.State(), DOWNLOAD_INITIALIZED);
        EXPECT_EQ(setup.Error(), "");
        EXPECT_THAT(setup.Chip().m_Sent, IsEmpty());
    }
}

TEST(VintorDownload, APhaseNeedsItsImage) {
    const struct {
        DownloadStates m_State;
        bool (*m_pfnPhase)(CChipDownloader*);
        const char* m_szError;
    } cases[] = {
        {DOWNLOAD_INITIALIZED, VintorDownloadMinidriver, "MINIDRIVER chunk not found!"},
        {DOWNLOAD_READY_TO_DOWNLOAD, VintorDownloadMinidriver,
         "VintorDownloadMinidriver: unexpected state Executing -- ready to download code or data"},
        {DOWNLOAD_READY_TO_DOWNLOAD,
         [](CChipDownloader* downloader) { return VintorDownloadFirmware(downloader, false); },
         "FIRMWARE chunk not found!"},
        {DOWNLOAD_READY_TO_DOWNLOAD,
         [](CChipDownloader* downloader) { return VintorDownloadConfigData(downloader, false); },
         "CONFIG chunk not found!"},
        {DOWNLOAD_READY_TO_VERIFY, VintorVerifyFirmware, "FIRMWARE chunk not found!"},
        {DOWNLOAD_READY_TO_VERIFY, VintorVerifyConfigData, "CONFIG chunk not found!"},
    };
    for (const auto& c : cases) {
        CDownloadSetup setup({});
        setup.Downloader().SetState(c.m_State);
        EXPECT_FALSE(c.m_pfnPhase(&setup.Downloader()));
        EXPECT_EQ(setup.State(), DOWNLOAD_TERMINATED_WITH_ERROR);
        EXPECT_EQ(setup.Error(), c.m_szError);
    }
}

// The record length is one byte: 256 writes nothing and gets nowhere, until someone stops it.
TEST(VintorDownload, AWriteSizeOf256MakesNoProgress) {
    CDownloadRequest request =
        CodeAndData({{"DLConfigTargeting", "RAM"}, {"DLMaxWriteSize", "256"}});
    request.m_Firmwares = {IntelHexText({{0x200000, SampleBytes(300, 1)}})};
    CDownloadSetup setup(request);
    unsigned int frames = 0;
    setup.Chip().m_pfnFrameSent = [&] {
        if (++frames == 8) {
            EXPECT_EQ(setup.Downloader().CancelDownload(0), "");
        }
    };
    EXPECT_EQ(PrepareAndRun(setup), DOWNLOAD_CANCELED);
    // Frame 1 is the preparation's.
    EXPECT_THAT(setup.Chip().m_Sent,
                ElementsAreArray(Frames{RESET, "01 4C FC 04 00 00 20 00", "01 4C FC 04 00 00 20 00",
                                        "01 4C FC 04 00 00 20 00", "01 4C FC 04 00 00 20 00",
                                        "01 4C FC 04 00 00 20 00", "01 4C FC 04 00 00 20 00"}));
    EXPECT_THAT(AreasOf(setup.Downloader()), IsEmpty());
}

TEST(VintorDownload, APortThatIsNoUARTGetsNoPacketIndicator) {
    CDownloadSetup setup(CodeAndData({}));
    CFakeChip chip(" PORT=/dev/spi0\n");
    CChipDownloader downloader(setup.Info(), &chip);
    ASSERT_EQ(downloader.PrepareForDownload(), "");
    VintorDownloadingFunction(&downloader);
    EXPECT_THAT(chip.m_Sent,
                ElementsAre("2E FC 00", "03 0C 00", "4C FC 09 00 00 20 00 01 02 03 04 05",
                            "4C FC 07 00 04 00 00 06 07 08", "4E FC 04 78 56 34 12"));
}

}  // namespace
