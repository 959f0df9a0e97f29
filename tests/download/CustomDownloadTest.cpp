#include <gmock/gmock.h>

#include "download/CustomX4410ADownloadAssistant.h"
#include "support/DownloadSetup.h"
#include "support/FakeClock.h"

namespace {

CDownloadRequest Signature() {
    CDownloadRequest request;
    request.m_strConfig = std::string("version\x01PATCHSET\x10\x2F\x2E\x01\x06");
    request.m_Rules = {{"CustomXAChunkedBusTxMaxPayloadSize", "250"}};
    request.m_bVintorMode = false;
    request.m_pfnOverride = [](auto& info) { info.SetCustomDownloadType("NFC"); };
    return request;
}

// Such a download never ends.
TEST(CustomDownload, WhatFailsBeforeTheRecordsLeavesNoError) {
    for (const bool drainFails : {false, true}) {
        CDownloadSetup setup(Signature());
        ASSERT_EQ(setup.Prepare(), "");
        CChipImageLoadingInformation& info = *setup.Downloader().DownloadInfo();
        if (drainFails) {
            setup.Chip().m_strReadError = "RxOverflow";
        } else {
            info.GetDescriptor().AddConfigDataFileName("second");
        }
        info.GetCustomDownloader()->ExecuteDownload(&setup.Downloader());
        EXPECT_EQ(setup.State(), drainFails ? DOWNLOAD_INITIALIZED : DOWNLOAD_READY_TO_DOWNLOAD);
        EXPECT_EQ(setup.Error(), "");
        EXPECT_TRUE(setup.Chip().m_Sent.empty());
    }
}

// 604 bytes, more than an NCD record holds.
TEST(CustomDownload, ChunkedTxRxCutsARecordIntoSegments) {
    const CFakeClock clock;
    CDownloadSetup setup(Signature());
    ASSERT_EQ(setup.Prepare(), "");
    const char response[] = "10 4F 2E 01 00 10 6F 2E 01 00";
    setup.Chip().m_Faults = {{"10", {}, ""}, {"10", {}, ""}, {"10", {response}, ""}};
    Bytes expected = FromHex(response);
    std::string error;
    auto& assistant = dynamic_cast<CCustomX4410ADownloadAssistant&>(
        *setup.Downloader().DownloadInfo()->GetCustomDownloader());
    EXPECT_TRUE(assistant.ChunkedTxRx(&setup.Chip(), nullptr, Bytes(604, 0x5A).data(), 604,
                                      expected.data(), 10, 0, &error, &setup.Downloader()));
    EXPECT_EQ(error, "");
    const std::string full = "10 3F 2E FA " + ToHex(Bytes(250, 0x5A));
    EXPECT_THAT(setup.Chip().m_Sent,
                testing::ElementsAre(full, full, "10 2F 2E 64 " + ToHex(Bytes(100, 0x5A))));
    EXPECT_THAT(setup.NewDetails(),
                testing::Contains("CCustomX4410ADownloadAssistant::ChunkedTxRx  top of tx loop "
                                  "with remaining nTxNumBytes=350"));
}

}  // namespace
