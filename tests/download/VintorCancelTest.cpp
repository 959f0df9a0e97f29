#include <gmock/gmock.h>

#include "download/VintorDownload.h"
#include "support/DownloadSetup.h"
#include "support/SampleImages.h"

namespace {

// Every step that there is: two records to each image.
CDownloadRequest WholeDownload() {
    CDownloadRequest request;
    request.m_strMinidriver = IntelHexText({{0x100, {9, 10, 11}}});
    request.m_Firmwares = {IntelHexText({{0x200000, {1, 2, 3, 4}}})};
    request.m_Configs = {HcdFile({{0x400, {6, 7, 8}}}, 0x12345678)};
    request.m_Rules = {{"DLConfigTargeting", "flash"},
                       {"DLSectorEraseMode", "chip erase"},
                       {"DLWriteVerifyMode", "write verify"},
                       {"DLMaxWriteSize", "2"}};
    request.m_pfnOverride = [](auto& info) { info.SetNeedToCheckCRC(true); };
    return request;
}

// Whatever the step in hand comes to, nothing follows it and the download stays canceled.
TEST(VintorDownload, ACancelStopsBehindTheStepInHand) {
    const char* const lastFrames[] = {
        "01 03 0C 00",              // reset
        "01 4C FC 06 00 01",        // minidriver
        "01 4E FC 04 00 01 00 00",  // its launch
        "01 CE FF",                 // erase
        "01 4C FC 06 00 00 20 00",  // firmware
        "01 4C FC 06 02 00 20 00",  // its last record
        "01 CC FC 08 00 00 20 00",  // its CRC
        "01 4C FC 06 00 04",        // configuration
        "01 CC FC 08 00 04 00 00",  // its CRC
        "01 4D FC 05 00 00 20 00",  // reading firmware back
        "01 4D FC 05 02 04 00 00",  // the last of the configuration
        "01 4E FC 04 78 56 34 12",  // launch
    };
    for (const char* lastFrame : lastFrames) {
        for (const bool stepFails : {false, true}) {
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
            EXPECT_EQ(VintorDownloadingFunction(&setup.Downloader()), 0U);
            EXPECT_EQ(setup.State(), DOWNLOAD_CANCELED);
            EXPECT_EQ(setup.Error().empty(), !stepFails);
            EXPECT_THAT(setup.Chip().m_Sent.back(), testing::StartsWith(lastFrame));
        }
    }
}

}  // namespace
