#include "download/VintorDownload.h"

#include <gmock/gmock.h>

#include "download/VintorImages.h"
#include "support/DownloadSetup.h"
#include "support/FakeClock.h"
#include "support/SampleImages.h"

namespace {

// A wrong state ends a pass without a message, a missing image with one.
TEST(VintorDownload, APassNeedsItsStateAndItsImage) {
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
        {DOWNLOAD_READY_TO_VERIFY, firmware, ""},
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

CDownloadRequest WholeDownload() {
    CDownloadRequest request;
    request.m_strMinidriver = IntelHexText({{0x100, {9, 10, 11}}});
    request.m_Firmwares = {IntelHexText({{0x200000, {1, 2, 3, 4}}, {0x300000, {5}}})};
    request.m_Configs = {HcdFile({{0x400, {6, 7, 8}}}, 0x12345678)};
    request.m_Rules = {{"DLConfigTargeting", "flash"},
                       {"DLSectorEraseMode", "chip erase"},
                       {"DLWriteVerifyMode", "write verify"},
                       {"DLMaxWriteSize", "2"}};
    request.m_pfnOverride = [](auto& info) { info.SetNeedToCheckCRC(true); };
    return request;
}

// Whether the current step fails or not, no other follows and the download stays canceled.
TEST(VintorDownload, ACancelStopsAfterTheCurrentStep) {
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
            const CFakeClock clock;
            SCOPED_TRACE(std::string(lastFrame) + (stepFails ? " fails" : ""));
            CDownloadSetup setup(WholeDownload());
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
            EXPECT_THAT(setup.Chip().m_Sent.back(), testing::StartsWith(lastFrame));
        }
    }
}

}  // namespace
