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
    const std::tuple<DownloadStates, bool (*)(CChipDownloader*), std::string> cases[] = {
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
    for (const auto& [state, pass, error] : cases) {
        CDownloadSetup setup({});
        setup.Downloader().SetState(state);
        EXPECT_FALSE(pass(&setup.Downloader()));
        EXPECT_EQ(setup.State(), error.empty() ? state : DOWNLOAD_TERMINATED_WITH_ERROR);
        EXPECT_EQ(setup.Error(), error);
    }
}

CDownloadRequest WholeDownload() {
    CDownloadRequest request;
    request.m_strMinidriver = IntelHexText({{0x100, {9, 10, 11}}});
    request.m_strFirmware = IntelHexText({{0x200000, {1, 2, 3, 4}}, {0x300000, {5}}});
    request.m_strConfig = HcdFile({{0x400, {6, 7, 8}}}, 0x12345678);
    request.m_Rules = {{"DLConfigTargeting", "flash"},
                       {"DLSectorEraseMode", "chip erase"},
                       {"DLWriteVerifyMode", "write verify"},
                       {"DLMaxWriteSize", "2"}};
    request.m_pfnOverride = [](auto& info) { info.SetNeedToCheckCRC(true); };
    return request;
}

// The reset, the minidriver and its launch, the erase, firmware with its CRC checks, configuration
// with its own, both read back, the launch: whether the current step fails or not, no other follows
// and the download stays canceled.
TEST(VintorDownload, ACancelStopsAfterTheCurrentStep) {
    const CFakeClock clock;
    CDownloadSetup whole(WholeDownload());
    ASSERT_EQ(whole.Prepare(), "");
    VintorDownloadingFunction(&whole.Downloader());
    ASSERT_EQ(whole.State(), DOWNLOAD_COMPLETED);
    const std::vector<std::string> frames = whole.Chip().m_Sent;
    ASSERT_EQ(frames.size(), 19U);
    for (std::size_t last = 1; last <= frames.size(); ++last) {
        for (const bool stepFails : {false, true}) {
            SCOPED_TRACE(frames[last - 1] + (stepFails ? " fails" : ""));
            CDownloadSetup setup(WholeDownload());
            ASSERT_EQ(setup.Prepare(), "");
            CFakeChip& chip = setup.Chip();
            chip.m_pfnFrameSent = [&] {
                if (chip.m_Sent.size() == last) {
                    EXPECT_EQ(setup.Downloader().CancelDownload(1000), "");
                    if (stepFails) {
                        chip.m_Faults = {{"", {}, "RxOverflow"}};
                    }
                }
            };
            VintorDownloadingFunction(&setup.Downloader());
            EXPECT_EQ(setup.State(), DOWNLOAD_CANCELED);
            EXPECT_EQ(setup.Error().empty(), !stepFails);
            EXPECT_EQ(chip.m_Sent.size(), last);
        }
    }
}

}  // namespace
