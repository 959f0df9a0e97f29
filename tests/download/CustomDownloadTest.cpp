#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "download/ChipDownloader.h"
#include "download/CustomX4410ADownloadAssistant.h"
#include "support/FakeChip.h"
#include "support/TempDir.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

using Frames = std::vector<std::string>;

constexpr char SIGNATURE_RESPONSE[] = "10 4F 2E 01 00 10 6F 2E 01 00";
constexpr char RESET_NOTIFICATION[] = "10 60 00 02 00 01";
constexpr char DISABLE_SECURE[] = "10 2F 23 01 00";

constexpr char PATCH[] = "10 2F 2E 03 01 A1 A2";
constexpr char SIGNATURE[] = "10 2F 2E 02 06 B1";

std::string NcdFile(const Frames& records) {
    // Version block with one patch set, its descriptor, the records.
    std::string file(7, '\0');
    file += '\x01';
    file += std::string(8, '\xEE');
    for (const std::string& record : records) {
        const Bytes bytes = FromHex(record);
        file.append(bytes.begin(), bytes.end());
    }
    return file;
}

// A custom download of one NCD file, run on the test's own thread.
class CustomDownload : public testing::Test {
protected:
    CustomDownload() {
        m_Rules.SetDownloadParameter("CustomXATimeOutAfterPatchMS", "1", true);
        m_Rules.SetDownloadParameter("CustomXAMaxWaitForPatchRecMS", "40", true);
        m_Rules.SetDownloadParameter("CustomXAMaxWaitForSignatureMS", "40", true);
        m_Rules.SetDownloadParameter("CustomXAChunkedTxTimeoutMS", "1", true);
        m_Rules.SetDownloadParameter("CustomXAChunkedRxTimeoutMS", "1", true);
    }

    std::string Prepare(const std::string& type, const std::string& ncd) {
        m_Descriptor.AddConfigDataFileName(m_Folder.Write("patch.ncd", ncd));
        return PrepareWithoutFile(type);
    }

    std::string PrepareWithoutFile(const std::string& type) {
        m_Descriptor.AddRuleSet(m_Rules);
        CChipImageLoadingInformation info(m_Descriptor, false, nullptr);
        info.SetCustomDownloadType(type);
        m_Chip.m_Sent.clear();
        m_pDownloader = std::make_unique<CChipDownloader>(info, &m_Chip);
        return m_pDownloader->PrepareForDownload();
    }

    void Execute() {
        m_pDownloader->DownloadInfo()->GetCustomDownloader()->ExecuteDownload(m_pDownloader.get());
    }

    DownloadStates State() const {
        return m_pDownloader->GetStatus(nullptr, nullptr, nullptr, nullptr);
    }

    std::vector<std::string> Details() {
        std::vector<std::string> details;
        m_pDownloader->GetAllRecentDetails(details);
        return details;
    }

    CTempDir m_Folder;
    CDownloadRulesSet m_Rules{""};
    CChipDownloadDescriptor m_Descriptor;
    CFakeChip m_Chip;
    std::unique_ptr<CChipDownloader> m_pDownloader;
};

TEST_F(CustomDownload, SendsEveryRecordAsStoredAndCompletes) {
    ASSERT_EQ(Prepare("spd", NcdFile({PATCH, PATCH, SIGNATURE})), "");
    EXPECT_THAT(Details(), ElementsAre("A total of 3 NCD records will be loaded..."));
    Execute();
    EXPECT_THAT(m_Chip.m_Sent, ElementsAre(PATCH, PATCH, SIGNATURE));
    EXPECT_EQ(State(), DOWNLOAD_COMPLETED);
    unsigned int downloaded = 0;
    m_pDownloader->GetStatus(nullptr, &downloaded, nullptr, nullptr);
    EXPECT_EQ(downloaded, 2 * FromHex(PATCH).size() + FromHex(SIGNATURE).size());
    EXPECT_THAT(
        Details(),
        ElementsAre("Sending to HW  (7 bytes): 10 2F 2E 03 01 A1 A2",
                    "So far recvd from HW  (5 bytes): 10 4F 2E 01 00",
                    "Patch record successfully sent",
                    "Sending to HW  (7 bytes): 10 2F 2E 03 01 A1 A2",
                    "So far recvd from HW  (5 bytes): 10 4F 2E 01 00",
                    "Patch record successfully sent", "Sending to HW  (6 bytes): 10 2F 2E 02 06 B1",
                    "So far recvd from HW  (10 bytes): 10 4F 2E 01 00 10 6F 2E 01 00",
                    "Signature record successfully sent",
                    "Pausing after completing the patch set and verifying signature"));
}

TEST_F(CustomDownload, RefusesWhatItCannotLoadBeforeSendingAnything) {
    const struct {
        const char* m_szType;
        int m_nConfigFiles;
        bool m_bMinidriver;
        bool m_bFirmware;
        std::string m_LastRecord;
        const char* m_szError;
    } cases[] = {
        {"X4410C", 1, false, false, SIGNATURE, "Unrecognized custom download type X4410C"},
        {"NFC", 0, false, false, SIGNATURE, "Must load exactly one config file."},
        {"NFC", 2, true, false, SIGNATURE, "Must load exactly one config file."},
        {"X4410A", 1, true, true, SIGNATURE, "Cannot load minidrivers in SPD mode."},
        {"x4410b", 1, false, true, SIGNATURE, "Cannot load firmware in SPD mode."},
        {"NFC", 1, false, false, PATCH, "No signature records found!"},
        {"NFC", 1, false, false, "11 2F 2E 02 06 B1", "Unexpected PID value 0x11 in NCD record"},
        {"NFC", 1, false, false, "10 2F 2E 09 06 B1",
         "Not enough NCD data bytes in record -- 8 bytes expected"},
        {"NFC", 1, false, false, "10 2F 2E 00 06",
         "Not enough NCD data bytes in record -- -1 bytes expected"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.m_szError);
        m_Descriptor = CChipDownloadDescriptor();
        const std::string file = m_Folder.Write("case.ncd", NcdFile({PATCH, test.m_LastRecord}));
        for (int i = 0; i < test.m_nConfigFiles; ++i) {
            m_Descriptor.AddConfigDataFileName(file);
        }
        if (test.m_bMinidriver) {
            m_Descriptor.AddMinidriverFileName("minidriver.hex");
        }
        if (test.m_bFirmware) {
            m_Descriptor.AddFirmwareFileName("firmware.hex");
        }
        EXPECT_EQ(PrepareWithoutFile(test.m_szType), test.m_szError);
        EXPECT_EQ(State(), DOWNLOAD_TERMINATED_WITH_ERROR);
    }
    EXPECT_THAT(m_Chip.m_Sent, IsEmpty());
}

TEST_F(CustomDownload, AnUnansweredRecordEndsIt) {
    const struct {
        const char* m_szUnanswered;
        unsigned int m_nSent;
        const char* m_szError;
    } cases[] = {
        {PATCH, 1, " patch record transmission failed"},
        {SIGNATURE, 2, "Signature record transmission failed"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.m_szError);
        m_Descriptor = CChipDownloadDescriptor();
        m_Chip.m_Faults = {{test.m_szUnanswered, {}, ""}};
        ASSERT_EQ(Prepare("NFC", NcdFile({PATCH, SIGNATURE, PATCH})), "");
        Execute();
        EXPECT_EQ(m_Chip.m_Sent.size(), test.m_nSent);
        EXPECT_EQ(State(), DOWNLOAD_TERMINATED_WITH_ERROR);
        EXPECT_STREQ(m_pDownloader->GetErrorDescription(), test.m_szError);
    }
}

TEST_F(CustomDownload, ATransportErrorStandsBeforeTheTextOfTheRecord) {
    ASSERT_EQ(Prepare("NFC", NcdFile({PATCH, SIGNATURE})), "");
    m_Chip.m_Faults = {{PATCH, {}, "RxOverflow"}};
    Execute();
    EXPECT_STREQ(m_pDownloader->GetErrorDescription(),
                 "RxOverflow patch record transmission failed");
}

// Whoever waits for this state waits on: the text of a failed first drain is dropped, on purpose.
TEST_F(CustomDownload, AFailedFirstDrainLeavesNoError) {
    ASSERT_EQ(Prepare("NFC", NcdFile({PATCH, SIGNATURE})), "");
    m_Chip.m_strReadError = "RxOverflow";
    Execute();
    EXPECT_EQ(State(), DOWNLOAD_INITIALIZED);
    EXPECT_THAT(m_Chip.m_Sent, IsEmpty());
}

// Nor does what fails between the records: such a download never ends, either.
TEST_F(CustomDownload, AFailureBetweenTheRecordsLeavesNoError) {
    const struct {
        const char* m_szName;
        std::function<void()> m_pfnBreak;
        Frames m_Sent;
    } cases[] = {
        {"a second file",
         [this] {
             m_pDownloader->DownloadInfo()->GetDescriptor().AddConfigDataFileName("second.ncd");
         },
         {}},
        {"the drain after a signature",
         [this] {
             m_Chip.m_Faults = {{SIGNATURE, {SIGNATURE_RESPONSE}, "RxOverflow"}};
         },
         {PATCH, SIGNATURE}},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.m_szName);
        m_Descriptor = CChipDownloadDescriptor();
        ASSERT_EQ(Prepare("NFC", NcdFile({PATCH, SIGNATURE, PATCH, SIGNATURE})), "");
        test.m_pfnBreak();
        Execute();
        EXPECT_EQ(State(), DOWNLOAD_READY_TO_DOWNLOAD);
        EXPECT_STREQ(m_pDownloader->GetErrorDescription(), "");
        EXPECT_EQ(m_Chip.m_Sent, test.m_Sent);
    }
}

TEST_F(CustomDownload, ACancelStopsBehindTheRecordInHand) {
    const Frames frames = {PATCH, SIGNATURE};
    for (std::size_t last = 0; last < frames.size(); ++last) {
        m_Descriptor = CChipDownloadDescriptor();
        m_Chip.m_pfnFrameSent = nullptr;
        ASSERT_EQ(Prepare("NFC", NcdFile(frames)), "");
        m_Chip.m_pfnFrameSent = [&] {
            if (m_Chip.m_Sent.size() == last + 1) {
                m_pDownloader->CancelDownload(0);
            }
        };
        Execute();
        EXPECT_EQ(State(), DOWNLOAD_CANCELED);
        EXPECT_EQ(m_Chip.m_Sent.size(), last + 1);
    }
}

TEST_F(CustomDownload, CopiesOfTheLoadingInformationShareTheAssistant) {
    ASSERT_EQ(Prepare("NFC", NcdFile({SIGNATURE})), "");
    const CChipImageLoadingInformation copy(*m_pDownloader->DownloadInfo());
    CCustomDownloadAssistant* assistant = copy.GetCustomDownloader();
    EXPECT_EQ(assistant, m_pDownloader->DownloadInfo()->GetCustomDownloader());
    EXPECT_EQ(assistant->IncRefCount(), 3U);
    m_pDownloader.reset();
    EXPECT_EQ(assistant->DecRefCount(), 1U);
}

// The parameter is stored and the fixed number counts, on purpose.
TEST_F(CustomDownload, ReplyPollsAreCountedToTwoHundredWhateverTheParameterSays) {
    m_Rules.SetDownloadParameter("CustomXAChunkedBusTxMaxPayloadSize", "2", true);
    m_Rules.SetDownloadParameter("CustomXAChunkedRxMaxTries", "3", true);
    ASSERT_EQ(Prepare("NFC", NcdFile({"10 2F 2E 02 06 A1"})), "");
    // The reply needs ten polls.
    m_Chip.m_Faults = {{"10 2F", {"10", "4F", "2E", "01", "00", "10", "6F", "2E", "01", "00"}, ""}};
    Execute();
    EXPECT_EQ(State(), DOWNLOAD_COMPLETED);
}

TEST_F(CustomDownload, SecureModeIsLeftOnlyForANumberThatIsZero) {
    const struct {
        const char* m_szValue;
        bool m_bSends;
    } cases[] = {{"0", true}, {"0x0", true}, {"1", false}, {"2", false}, {"off", false}};
    for (const auto& test : cases) {
        SCOPED_TRACE(test.m_szValue);
        m_Descriptor = CChipDownloadDescriptor();
        m_Rules.SetDownloadParameter("CustomXAEnableSecure", test.m_szValue, true);
        ASSERT_EQ(Prepare("NFC", NcdFile({SIGNATURE})), "");
        EXPECT_EQ(m_Chip.m_Sent, test.m_bSends ? Frames{DISABLE_SECURE} : Frames{});
        if (test.m_bSends) {
            EXPECT_THAT(Details(), Contains("SET_SECURE_MODE_CMD (DISABLE) succeeded"));
        }
    }
}

TEST_F(CustomDownload, APayloadSizeThatIsNoNumberAboveZeroSendsRecordsWhole) {
    for (const char* value : {"0", "-2", "two"}) {
        SCOPED_TRACE(value);
        m_Descriptor = CChipDownloadDescriptor();
        m_Rules.SetDownloadParameter("CustomXAChunkedBusTxMaxPayloadSize", value, true);
        ASSERT_EQ(Prepare("NFC", NcdFile({SIGNATURE})), "");
        Execute();
        EXPECT_EQ(m_Chip.m_Sent.back(), SIGNATURE);
    }
}

TEST_F(CustomDownload, ASilentChipInSecureModeIsReportedAndTheRecordsStillGoOut) {
    m_Rules.SetDownloadParameter("CustomXAEnableSecure", "0", true);
    m_Chip.m_Faults = {{DISABLE_SECURE, {}, ""}};
    ASSERT_EQ(Prepare("NFC", NcdFile({SIGNATURE})), "");
    EXPECT_THAT(Details(), ElementsAre("A total of 1 NCD records will be loaded...",
                                       "Issuing SET_SECURE_MODE_CMD (DISABLE)",
                                       "SET_SECURE_MODE_CMD (DISABLE) failed"));
    EXPECT_STREQ(m_pDownloader->GetErrorDescription(), "SET_SECURE_MODE_CMD (DISABLE) failed");
    Execute();
    EXPECT_EQ(State(), DOWNLOAD_COMPLETED);
}

TEST_F(CustomDownload, X4410BWaitsForTheResetInsteadOfPausing) {
    m_Rules.SetDownloadParameter("CustomXAChunkedBusTxMaxPayloadSize", "2", true);
    ASSERT_EQ(Prepare("X4410B", NcdFile({PATCH, SIGNATURE})), "");
    // The notification comes once the response has been taken.
    m_Chip.m_Faults = {{SIGNATURE, {SIGNATURE_RESPONSE, RESET_NOTIFICATION}, ""}};
    Execute();
    EXPECT_EQ(State(), DOWNLOAD_COMPLETED);
    EXPECT_THAT(m_Chip.m_Sent, ElementsAre(PATCH, SIGNATURE));  // never in segments
    EXPECT_THAT(Details(), Contains("Waiting to receive NCI_RESET_NTF"));
}

// 604 bytes as the API takes them, more than an NCD record holds.
TEST(ChunkedTxRx, CutsARecordIntoSegmentsWithHeadersOfTheirOwn) {
    CChipDownloadDescriptor descriptor;
    CDownloadRulesSet rules("");
    rules.SetDownloadParameter("CustomXAChunkedBusTxMaxPayloadSize", "250", true);
    rules.SetDownloadParameter("CustomXAChunkedTxTimeoutMS", "1", true);
    rules.SetDownloadParameter("CustomXAChunkedRxTimeoutMS", "1", true);
    descriptor.AddRuleSet(rules);
    CTempDir folder;
    descriptor.AddConfigDataFileName(folder.Write("patch.ncd", NcdFile({SIGNATURE})));
    CFakeChip chip;
    CChipImageLoadingInformation info(descriptor, false, nullptr);
    info.SetCustomDownloadType("NFC");
    CChipDownloader downloader(info, &chip);
    ASSERT_EQ(downloader.PrepareForDownload(), "");
    auto* assistant = dynamic_cast<CCustomX4410ADownloadAssistant*>(
        downloader.DownloadInfo()->GetCustomDownloader());
    ASSERT_NE(assistant, nullptr);

    const struct {
        const char* m_szName;
        Frames m_Pieces;  // what each segment is answered with
        bool m_bFound;
    } cases[] = {
        {"whole", {"", "", SIGNATURE_RESPONSE}, true},
        {"two packets at once, cut in the second", {"10 4F", "2E 01 00 10 6F 2E", "01 00"}, true},
        {"a packet that stays short", {"", "", "10 4F 2E 05 00"}, false},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.m_szName);
        chip.m_Sent.clear();
        for (const std::string& piece : test.m_Pieces) {
            chip.m_Faults.push_back({"10", {piece}, ""});
        }
        Bytes record(604, 0x5A);
        Bytes expected = FromHex(SIGNATURE_RESPONSE);
        std::string error;
        EXPECT_EQ(
            assistant->ChunkedTxRx(&chip, nullptr, record.data(), 604, expected.data(),
                                   static_cast<unsigned int>(expected.size()), 0, &error, nullptr),
            test.m_bFound);
        EXPECT_EQ(error, "");
        EXPECT_THAT(chip.m_Sent, ElementsAre("10 3F 2E FA " + RepeatedHex("5A", 250),
                                             "10 3F 2E FA " + RepeatedHex("5A", 250),
                                             "10 2F 2E 64 " + RepeatedHex("5A", 100)));
    }
}

TEST_F(CustomDownload, ChunkedRecordsReachTheStatusLinesSegmentBySegment) {
    m_Rules.SetDownloadParameter("CustomXAChunkedBusTxMaxPayloadSize", "2", true);
    ASSERT_EQ(Prepare("X4410A", NcdFile({"10 2F 2E 03 06 A1 A2"})), "");
    Execute();
    EXPECT_EQ(State(), DOWNLOAD_COMPLETED);
    EXPECT_THAT(m_Chip.m_Sent, ElementsAre("10 3F 2E 02 06 A1", "10 2F 2E 01 A2"));
    const std::string name = "CCustomX4410ADownloadAssistant::ChunkedTxRx";
    EXPECT_THAT(Details(),
                testing::IsSupersetOf(
                    {name + "  top of tx loop with remaining nTxNumBytes=3",
                     name + " sending chunk to HW  (6 bytes): 10 3F 2E 02 06 A1",
                     name + "  top of tx loop with remaining nTxNumBytes=1",
                     std::string("  Shifting arRxChunk because it contains more than one chunk. "
                                 "Total length=10  this chunk=5"),
                     std::string("        nNumRxBytes=10   nRxExpectedNumBytes=10    calling "
                                 "FindBytesInBuffer "),
                     name + "  exiting with bCommandCompleted=1"}));
}

}  // namespace
