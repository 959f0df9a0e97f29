#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "download/ChipDownloader.h"
#include "download/CustomX4410ADownloadAssistant.h"
#include "support/FakeConnector.h"
#include "support/TempDir.h"

namespace {

using Bytes = CFakeConnector::Bytes;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

const Bytes PATCH_RESPONSE = {0x10, 0x4F, 0x2E, 0x01, 0x00};
const Bytes SIGNATURE_RESPONSE = {0x10, 0x4F, 0x2E, 0x01, 0x00, 0x10, 0x6F, 0x2E, 0x01, 0x00};
const Bytes RESET_NOTIFICATION = {0x10, 0x60, 0x00, 0x02, 0x00, 0x01};
const Bytes DISABLE_SECURE = {0x10, 0x2F, 0x23, 0x01, 0x00};

const Bytes PATCH = {0x10, 0x2F, 0x2E, 0x03, 0x01, 0xA1, 0xA2};
const Bytes SIGNATURE = {0x10, 0x2F, 0x2E, 0x02, 0x06, 0xB1};

std::string NcdFile(const std::vector<Bytes>& records) {
    // Version block with one patch set, its descriptor, the records.
    std::string file(7, '\0');
    file += '\x01';
    file += std::string(8, '\xEE');
    for (const Bytes& record : records) {
        file.append(record.begin(), record.end());
    }
    return file;
}

// A part that acknowledges what it gets, unless told to stay silent.
struct CNfcPart {
    bool m_bAnswersPatch = true;
    bool m_bAnswersSignature = true;
    bool m_bAnswersSecure = true;

    Bytes Answer(const Bytes& sent) const {
        if (sent == DISABLE_SECURE) {
            return m_bAnswersSecure ? Bytes{0x10, 0x4F, 0x23, 0x01, 0x00} : Bytes{};
        }
        if (sent.size() > 4 && sent[4] == 6) {
            return m_bAnswersSignature ? SIGNATURE_RESPONSE : Bytes{};
        }
        return m_bAnswersPatch ? PATCH_RESPONSE : Bytes{};
    }
};

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
        m_Connector.SetHandler([this](const Bytes& sent) { return m_Part.Answer(sent); });
        CChipImageLoadingInformation info(m_Descriptor, false, nullptr);
        info.SetCustomDownloadType(type);
        m_pDownloader = std::make_unique<CChipDownloader>(info, &m_Connector);
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
    CNfcPart m_Part;
    CFakeConnector m_Connector;
    std::unique_ptr<CChipDownloader> m_pDownloader;
};

TEST_F(CustomDownload, SendsEveryRecordAsStoredAndCompletes) {
    ASSERT_EQ(Prepare("spd", NcdFile({PATCH, PATCH, SIGNATURE})), "");
    EXPECT_THAT(Details(), ElementsAre("A total of 3 NCD records will be loaded..."));
    Execute();
    EXPECT_THAT(m_Connector.Transmitted(), ElementsAre(PATCH, PATCH, SIGNATURE));
    EXPECT_EQ(State(), DOWNLOAD_COMPLETED);
    unsigned int downloaded = 0;
    m_pDownloader->GetStatus(nullptr, &downloaded, nullptr, nullptr);
    EXPECT_EQ(downloaded, 2 * PATCH.size() + SIGNATURE.size());
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
        Bytes m_LastRecord;
        const char* m_szError;
    } cases[] = {
        {"X4410C", 1, false, false, SIGNATURE, "Unrecognized custom download type X4410C"},
        {"NFC", 0, false, false, SIGNATURE, "Must load exactly one config file."},
        {"NFC", 2, true, false, SIGNATURE, "Must load exactly one config file."},
        {"X4410A", 1, true, true, SIGNATURE, "Cannot load minidrivers in SPD mode."},
        {"x4410b", 1, false, true, SIGNATURE, "Cannot load firmware in SPD mode."},
        {"NFC", 1, false, false, PATCH, "No signature records found!"},
        {"NFC",
         1,
         false,
         false,
         {0x11, 0x2F, 0x2E, 0x02, 0x06, 0xB1},
         "Unexpected PID value 0x11 in NCD record"},
        {"NFC",
         1,
         false,
         false,
         {0x10, 0x2F, 0x2E, 0x09, 0x06, 0xB1},
         "Not enough NCD data bytes in record -- 8 bytes expected"},
        {"NFC",
         1,
         false,
         false,
         {0x10, 0x2F, 0x2E, 0x00, 0x06},
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
    EXPECT_THAT(m_Connector.Transmitted(), IsEmpty());
}

TEST_F(CustomDownload, AnUnansweredRecordEndsIt) {
    const struct {
        bool m_bAnswersPatch;
        unsigned int m_nSent;
        const char* m_szError;
    } cases[] = {
        {false, 1, " patch record transmission failed"},
        {true, 2, "Signature record transmission failed"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.m_szError);
        m_Descriptor = CChipDownloadDescriptor();
        m_Part.m_bAnswersPatch = test.m_bAnswersPatch;
        m_Part.m_bAnswersSignature = false;
        const std::size_t before = m_Connector.Transmitted().size();
        ASSERT_EQ(Prepare("NFC", NcdFile({PATCH, SIGNATURE, PATCH})), "");
        Execute();
        EXPECT_EQ(m_Connector.Transmitted().size() - before, test.m_nSent);
        EXPECT_EQ(State(), DOWNLOAD_TERMINATED_WITH_ERROR);
        EXPECT_STREQ(m_pDownloader->GetErrorDescription(), test.m_szError);
    }
}

TEST_F(CustomDownload, ATransportErrorStandsBeforeTheTextOfTheRecord) {
    ASSERT_EQ(Prepare("NFC", NcdFile({PATCH, SIGNATURE})), "");
    // The handler is called once the drain is over, so it is the exchange's read that fails.
    m_Connector.SetHandler([this](const Bytes&) {
        m_Connector.FailReads("RxOverflow");
        return Bytes{};
    });
    Execute();
    EXPECT_STREQ(m_pDownloader->GetErrorDescription(),
                 "RxOverflow patch record transmission failed");
}

// Whoever waits for this state waits on: the text of a failed first drain is dropped, on purpose.
TEST_F(CustomDownload, AFailedFirstDrainLeavesNoError) {
    ASSERT_EQ(Prepare("NFC", NcdFile({PATCH, SIGNATURE})), "");
    m_Connector.FailReads("RxOverflow");
    Execute();
    EXPECT_EQ(State(), DOWNLOAD_INITIALIZED);
    EXPECT_THAT(m_Connector.Transmitted(), IsEmpty());
}

// Nor does what fails between the records: such a download never ends, either.
TEST_F(CustomDownload, AFailureBetweenTheRecordsLeavesNoError) {
    const struct {
        const char* m_szName;
        std::function<void()> m_pfnBreak;
        std::vector<Bytes> m_Sent;
    } cases[] = {
        {"a second file",
         [this] {
             m_pDownloader->DownloadInfo()->GetDescriptor().AddConfigDataFileName("second.ncd");
         },
         {}},
        {"the drain behind a signature",
         [this] {
             m_Connector.SetHandler([this](const Bytes& sent) {
                 if (sent == SIGNATURE) {
                     m_Connector.FailReads("RxOverflow");
                 }
                 return m_Part.Answer(sent);
             });
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
        EXPECT_EQ(m_Connector.Transmitted(), test.m_Sent);
    }
}

TEST_F(CustomDownload, ACancelStopsBehindTheRecordInHand) {
    for (const Bytes& last : {PATCH, SIGNATURE}) {
        m_Descriptor = CChipDownloadDescriptor();
        const std::size_t before = m_Connector.Transmitted().size();
        ASSERT_EQ(Prepare("NFC", NcdFile({PATCH, SIGNATURE})), "");
        m_Connector.SetHandler([&](const Bytes& sent) {
            if (sent == last) {
                m_pDownloader->CancelDownload(0);
            }
            return m_Part.Answer(sent);
        });
        Execute();
        EXPECT_EQ(State(), DOWNLOAD_CANCELED);
        EXPECT_EQ(m_Connector.Transmitted().back(), last);
        EXPECT_EQ(m_Connector.Transmitted().size() - before, last == PATCH ? 1U : 2U);
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
    ASSERT_EQ(Prepare("NFC", NcdFile({{0x10, 0x2F, 0x2E, 0x02, 0x06, 0xA1}})), "");
    m_Connector.SetHandler([](const Bytes&) { return SIGNATURE_RESPONSE; });
    m_Connector.LimitReads(1);  // the reply needs ten polls
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
        const std::size_t before = m_Connector.Transmitted().size();
        ASSERT_EQ(Prepare("NFC", NcdFile({SIGNATURE})), "");
        EXPECT_EQ(m_Connector.Transmitted().size() - before, test.m_bSends ? 1U : 0U);
        if (test.m_bSends) {
            EXPECT_EQ(m_Connector.Transmitted().back(), DISABLE_SECURE);
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
        EXPECT_EQ(m_Connector.Transmitted().back(), SIGNATURE);
    }
}

TEST_F(CustomDownload, ASilentChipInSecureModeIsReportedAndTheRecordsStillGoOut) {
    m_Rules.SetDownloadParameter("CustomXAEnableSecure", "0", true);
    m_Part.m_bAnswersSecure = false;
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
    m_Connector.SetHandler(nullptr);
    ASSERT_EQ(Prepare("X4410B", NcdFile({PATCH, SIGNATURE})), "");
    // The notification comes once the response has been taken.
    m_Connector.SetHandler([this](const Bytes& sent) {
        Bytes reply = m_Part.Answer(sent);
        if (sent == SIGNATURE) {
            m_Connector.LimitReads(SIGNATURE_RESPONSE.size());
            reply.insert(reply.end(), RESET_NOTIFICATION.begin(), RESET_NOTIFICATION.end());
        }
        return reply;
    });
    Execute();
    EXPECT_EQ(State(), DOWNLOAD_COMPLETED);
    EXPECT_THAT(m_Connector.Transmitted(), ElementsAre(PATCH, SIGNATURE));  // never in segments
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
    CFakeConnector connector;
    CChipImageLoadingInformation info(descriptor, false, nullptr);
    info.SetCustomDownloadType("NFC");
    CChipDownloader downloader(info, &connector);
    ASSERT_EQ(downloader.PrepareForDownload(), "");
    auto* assistant = dynamic_cast<CCustomX4410ADownloadAssistant*>(
        downloader.DownloadInfo()->GetCustomDownloader());
    ASSERT_NE(assistant, nullptr);

    const struct {
        const char* m_szName;
        std::vector<Bytes> m_Pieces;  // what each segment is answered with
        bool m_bFound;
    } cases[] = {
        {"whole", {{}, {}, SIGNATURE_RESPONSE}, true},
        {"two packets at once, cut in the second",
         {{0x10, 0x4F}, {0x2E, 0x01, 0x00, 0x10, 0x6F, 0x2E}, {0x01, 0x00}},
         true},
        {"a packet that stays short", {{}, {}, {0x10, 0x4F, 0x2E, 0x05, 0x00}}, false},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.m_szName);
        Bytes record(604, 0x5A);
        Bytes expected = SIGNATURE_RESPONSE;
        const std::size_t before = connector.Transmitted().size();
        std::size_t piece = 0;
        connector.SetHandler([&](const Bytes&) { return test.m_Pieces[piece++]; });
        std::string error;
        EXPECT_EQ(
            assistant->ChunkedTxRx(&connector, nullptr, record.data(), 604, expected.data(),
                                   static_cast<unsigned int>(expected.size()), 0, &error, nullptr),
            test.m_bFound);
        EXPECT_EQ(error, "");
        std::vector<Bytes> sent = connector.Transmitted();
        ASSERT_EQ(sent.size() - before, 3U);
        const Bytes headers[] = {
            {0x10, 0x3F, 0x2E, 0xFA}, {0x10, 0x3F, 0x2E, 0xFA}, {0x10, 0x2F, 0x2E, 0x64}};
        for (std::size_t i = 0; i < 3; ++i) {
            const Bytes& segment = sent[before + i];
            EXPECT_EQ(Bytes(segment.begin(), segment.begin() + 4), headers[i]);
            EXPECT_EQ(segment.size(), headers[i][3] + 4U);
        }
        unsigned char rest[64];
        unsigned int got = 0;
        connector.ReadReceivedBytes(rest, sizeof rest, &got);
    }
}

TEST_F(CustomDownload, ChunkedRecordsReachTheStatusLinesSegmentBySegment) {
    m_Rules.SetDownloadParameter("CustomXAChunkedBusTxMaxPayloadSize", "2", true);
    m_Connector.SetHandler(nullptr);
    ASSERT_EQ(Prepare("X4410A", NcdFile({{0x10, 0x2F, 0x2E, 0x03, 0x06, 0xA1, 0xA2}})), "");
    m_Connector.SetHandler(
        [](const Bytes& sent) { return sent[1] == 0x2F ? SIGNATURE_RESPONSE : Bytes{}; });
    Execute();
    EXPECT_EQ(State(), DOWNLOAD_COMPLETED);
    EXPECT_THAT(m_Connector.Transmitted(), ElementsAre(Bytes{0x10, 0x3F, 0x2E, 0x02, 0x06, 0xA1},
                                                       Bytes{0x10, 0x2F, 0x2E, 0x01, 0xA2}));
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
