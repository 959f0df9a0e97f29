#include <gmock/gmock.h>

#include "download/CustomX4410ADownloadAssistant.h"
#include "support/DownloadSetup.h"
#include "support/FakeClock.h"

namespace {

using testing::Contains;
using Texts = std::vector<std::string>;
using Rules = std::map<std::string, std::string>;

constexpr char PATCH[] = "10 2F 2E 03 01 A1 A2";
constexpr char SIGNATURE[] = "10 2F 2E 02 06 B1";
constexpr char SIGNATURE_RESPONSE[] = "10 4F 2E 01 00 10 6F 2E 01 00";
constexpr char DISABLE_SECURE[] = "10 2F 23 01 00";

// Version block with one patch set, its descriptor, a patch and a signature.
CDownloadRequest Patches(const std::string& type, Rules rules = {}) {
    const Bytes records = FromHex(std::string(PATCH) + " " + SIGNATURE);
    CDownloadRequest request;
    request.m_Configs = {std::string("version\x01PATCHSET") +
                         std::string(records.begin(), records.end())};
    request.m_Rules = std::move(rules);
    request.m_bVintorMode = false;
    request.m_pfnOverride = [type](auto& info) { info.SetCustomDownloadType(type); };
    return request;
}

// Runs on the test's thread; tells how many milliseconds it would have taken.
long long Execute(CDownloadSetup& setup) {
    const CFakeClock clock;
    CCustomDownloadAssistant* assistant = setup.Downloader().DownloadInfo()->GetCustomDownloader();
    EXPECT_EQ(assistant->ExecuteDownload(&setup.Downloader()), 0U);
    return clock.GetElapsed() / std::chrono::milliseconds(1);
}

// Such a download never ends.
TEST(CustomDownload, AFailureBetweenTheRecordsLeavesNoError) {
    for (const int step : {0, 1, 2}) {
        CDownloadSetup setup(Patches("NFC"));
        ASSERT_EQ(setup.Prepare(), "");
        setup.Chip().m_strReadError = step == 0 ? "RxOverflow" : "";
        if (step == 1) {
            setup.Downloader().DownloadInfo()->GetDescriptor().AddConfigDataFileName("second");
        }
        setup.Chip().m_Faults = {{SIGNATURE, {SIGNATURE_RESPONSE}, "RxOverflow"}};
        Execute(setup);
        EXPECT_EQ(setup.State(), step == 0 ? DOWNLOAD_INITIALIZED : DOWNLOAD_READY_TO_DOWNLOAD);
        EXPECT_EQ(setup.Error(), "");
        EXPECT_EQ(setup.Chip().m_Sent.size(), step == 2 ? 2U : 0U);
    }
}

TEST(CustomDownload, ACancelStopsAfterTheCurrentRecord) {
    for (const std::size_t last : {1U, 2U}) {
        CDownloadSetup setup(Patches("NFC"));
        ASSERT_EQ(setup.Prepare(), "");
        setup.Chip().m_pfnFrameSent = [&] {
            if (setup.Chip().m_Sent.size() == last) {
                setup.Downloader().CancelDownload(0);
            }
        };
        Execute(setup);
        EXPECT_EQ(setup.State(), DOWNLOAD_CANCELED);
        EXPECT_EQ(setup.Chip().m_Sent.size(), last);
    }
}

TEST(CustomDownload, NeedsItsFile) {
    CDownloadRequest request = Patches("x4410b");
    request.m_Configs.clear();
    EXPECT_EQ(CDownloadSetup(request).Prepare(), "Must load exactly one config file.");
}

TEST(CustomDownload, CopiesOfTheLoadingInformationShareTheAssistant) {
    CDownloadSetup setup(Patches("NFC"));
    ASSERT_EQ(setup.Prepare(), "");
    const CChipImageLoadingInformation copy(*setup.Downloader().DownloadInfo());
    CCustomDownloadAssistant* assistant = copy.GetCustomDownloader();
    EXPECT_EQ(assistant, setup.Downloader().DownloadInfo()->GetCustomDownloader());
    EXPECT_EQ(assistant->IncRefCount(), 3U);
    setup.DestroyDownloader();
    EXPECT_EQ(assistant->DecRefCount(), 1U);
}

TEST(CustomDownload, SecureModeIsLeftOnlyForANumberThatIsZero) {
    for (const char* value : {"0x0", "1", "2", "off", "silent"}) {
        const CFakeClock clock;
        const bool isSilent = *value == 's';
        CDownloadSetup setup(Patches("NFC", {{"CustomXAEnableSecure", isSilent ? "0" : value}}));
        if (isSilent) {
            setup.Chip().m_Faults = {{DISABLE_SECURE, {}, ""}};
        }
        EXPECT_EQ(setup.Downloader().PrepareForDownload(), "");
        const bool isSent = *value == '0' || isSilent;
        EXPECT_EQ(setup.Chip().m_Sent, isSent ? Texts{DISABLE_SECURE} : Texts{}) << value;
        // The silence is reported; the records may still be taken.
        const std::string error = isSilent ? "SET_SECURE_MODE_CMD (DISABLE) failed" : "";
        EXPECT_EQ(setup.Error(), error);
        EXPECT_EQ(setup.NewDetails().back() == error, isSilent);
        EXPECT_EQ(clock.GetElapsed() / std::chrono::milliseconds(isSent ? 1 : 1000), isSilent ? 1000
                                                                                     : isSent ? 4
                                                                                              : 0);
        EXPECT_EQ(setup.State(), DOWNLOAD_INITIALIZED);
    }
}

// The time that a patch and a signature take tells which parameters count.
TEST(CustomDownload, ParametersCountWhenTheyAreNumbersAbove0) {
    const auto rules = [](const char* time, const char* payloadSize = "two") {
        Rules all = {{"CustomXAChunkedBusTxMaxPayloadSize", payloadSize},
                     {"CustomXAChunkedRxMaxTries", "3"}};  // has no effect
        for (const char* name :
             {"TimeOutAfterPatch", "MaxWaitForPatchRec", "MaxWaitForSignature",
              "TimeoutBeforeSignature", "ChunkedTxTimeout", "ChunkedRxTimeout"}) {
            all[std::string("CustomXA") + name + "MS"] = time;
        }
        return all;
    };
    const struct {
        Rules m_Rules;
        const char* m_szSilentAfter;
        int m_nMs;
        std::size_t m_nFrames;
    } cases[] = {
        {rules("0", "0"), "none", 4 + 4 + 1000, 2},
        {rules("-2", "-2"), PATCH, 500, 1},
        {rules("two"), SIGNATURE, 4 + 5000, 2},
        {rules("24"), "none", 4 + 24 + 4 + 24, 2},
        {rules("24"), PATCH, 24, 1},
        {rules("32"), SIGNATURE, 4 + 32 + 32, 2},
        {rules("0", "2"), "none", 50 + 50 + 1000, 3},
        {rules("0", "2"), "10 2F 2E 01", 50 + 200 * 50, 2},
        {rules("7", "2"), "none", 7 + 7 + 7 + 7, 3},
        {rules("7", "2"), "10 2F 2E 01", 7 + 200 * 7, 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.m_Rules) + c.m_szSilentAfter);
        CDownloadSetup setup(Patches("NFC", c.m_Rules));
        ASSERT_EQ(setup.Prepare(), "");
        setup.Chip().m_Faults = {{c.m_szSilentAfter, {}, ""}};
        EXPECT_EQ(Execute(setup), c.m_nMs);
        EXPECT_EQ(setup.Chip().m_Sent.size(), c.m_nFrames);
    }
}

TEST(CustomDownload, X4410BWaitsForTheResetInsteadOfPausing) {
    for (const bool restarts : {true, false}) {
        CDownloadSetup setup(Patches("X4410B", {{"CustomXAChunkedBusTxMaxPayloadSize", "2"}}));
        ASSERT_EQ(setup.Prepare(), "");
        const char* const notification = restarts ? "10 60 00 02 00 01" : "";
        setup.Chip().m_Faults = {{SIGNATURE, {SIGNATURE_RESPONSE, "", notification}, ""}};
        EXPECT_EQ(Execute(setup), 4 + 4 + (restarts ? 8 : 5000));
        EXPECT_EQ(setup.Chip().m_Sent, (Texts{PATCH, SIGNATURE}));  // not in segments
        EXPECT_EQ(setup.State(), restarts ? DOWNLOAD_COMPLETED : DOWNLOAD_TERMINATED_WITH_ERROR);
    }
}

// 604 bytes, more than an NCD record holds.
TEST(CustomDownload, ChunkedTxRxCutsARecordIntoSegments) {
    const CFakeClock clock;
    CDownloadSetup setup(Patches("NFC", {{"CustomXAChunkedBusTxMaxPayloadSize", "250"}}));
    ASSERT_EQ(setup.Prepare(), "");
    auto& assistant = dynamic_cast<CCustomX4410ADownloadAssistant&>(
        *setup.Downloader().DownloadInfo()->GetCustomDownloader());
    const struct {
        Texts m_Replies;  // one to each segment
        bool m_bFound;
        const char* m_szDetail;
    } cases[] = {
        {{"", "", SIGNATURE_RESPONSE},
         true,
         "  Shifting arRxChunk because it contains more than one chunk. Total length=10  this "
         "chunk=5"},
        {{"10 4F", "2E 01 00 10 6F 2E", "01 00"},
         true,
         "        nNumRxBytes=10   nRxExpectedNumBytes=10    calling FindBytesInBuffer "},
        {{"", "", "10 4F 2E 05 00"},
         false,
         "CCustomX4410ADownloadAssistant::ChunkedTxRx  exiting with bCommandCompleted=0"},
    };
    for (const auto& c : cases) {
        setup.Chip().m_Sent.clear();
        for (const std::string& reply : c.m_Replies) {
            setup.Chip().m_Faults.push_back({"10", {reply}, ""});
        }
        Bytes record(604, 0x5A);
        Bytes expected = FromHex(SIGNATURE_RESPONSE);
        std::string error;
        EXPECT_EQ(assistant.ChunkedTxRx(&setup.Chip(), nullptr, record.data(), 604, expected.data(),
                                        10, 0, &error, &setup.Downloader()),
                  c.m_bFound);
        EXPECT_EQ(error, "");
        EXPECT_EQ(setup.Chip().m_Sent, (Texts{"10 3F 2E FA " + RepeatedHex("5A", 250),
                                              "10 3F 2E FA " + RepeatedHex("5A", 250),
                                              "10 2F 2E 64 " + RepeatedHex("5A", 100)}));
        EXPECT_THAT(setup.NewDetails(), Contains(c.m_szDetail));
    }
}

}  // namespace
