#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "support/ProcessRun.h"
#include "support/SampleImages.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

Bytes Record(unsigned char type, unsigned int payloadSize) {
    Bytes record = {0x10, 0x2F, 0x2E, static_cast<unsigned char>(payloadSize + 1), type};
    const Bytes payload = SampleBytes(payloadSize, type);
    record.insert(record.end(), payload.begin(), payload.end());
    return record;
}

std::string Joined(const std::vector<Bytes>& records) {
    std::string joined;
    for (const Bytes& record : records) {
        joined.append(record.begin(), record.end());
    }
    return joined;
}

// The version block, one descriptor, the records.
std::string NcdFile(const std::string& records) {
    return std::string("version\x01", 8) + "PATCHSET" + records;
}

// The shortest records, a longest one, and two patch sets.
const std::vector<Bytes>& SampleRecords() {
    static const std::vector<Bytes> records = {Record(1, 0), Record(2, 254), Record(6, 20),
                                               Record(5, 40), Record(6, 0)};
    return records;
}

constexpr char QUICK[] = "CustomXATimeOutAfterPatchMS = 20\n";

class PatchDownload : public testing::Test {
protected:
    PROCESS_RESULT Run(const std::string& rules, const std::string& ncd,
                       const std::vector<std::string>& chipOptions,
                       const std::vector<std::string>& moreArguments = {}) const {
        m_Folder.Write("nfc.vnp", "DevicePreset = \"NFC\"\n" + rules);
        m_Folder.Write("patch.ncd", ncd);
        std::vector<std::string> words = {CHIPSIM_PROGRAM, "--baud", "0", "--dump-records",
                                          "records.bin"};
        words.insert(words.end(), chipOptions.begin(), chipOptions.end());
        for (const char* word : {"--", HCILOAD_PROGRAM, "-RULES", "nfc.vnp", "-PORT", "/dev/tty",
                                 "-BAUDRATE", "3000000NFC", "-CONFIG", "patch.ncd"}) {
            words.emplace_back(word);
        }
        words.insert(words.end(), moreArguments.begin(), moreArguments.end());
        return RunProcess(m_Folder, words);
    }

    std::string ReceivedRecords() const { return m_Folder.Read("records.bin"); }

    CTempDir m_Folder;
};

TEST_F(PatchDownload, EveryKindOfPartGetsEveryRecord) {
    const struct {
        const char* m_szName;
        std::string m_strRules;
        std::vector<std::string> m_ChipOptions;
        const char* m_szLine;  // one that only this kind prints
    } cases[] = {
        {"X4410A",
         std::string("CustomDownload = X4410A\n") + QUICK,
         {},
         "Pausing after completing the patch set and verifying signature"},
        {"SPD, whatever its case",
         std::string("CustomDownload = spd\n") + QUICK,
         {},
         "Sending to HW  (259 bytes): 10 2F 2E FF 02"},
        {"NFC with a late and cut acknowledgement",
         std::string("CustomDownload = NFC\n") + QUICK,
         {"--fault", "patch:1:late=200", "--fault", "signature:1:pieces=3,30"},
         "So far recvd from HW  (10 bytes): 10 4F 2E 01 00 10 6F 2E 01 00"},
        {"X4410A in segments",
         std::string("CustomDownload = X4410A\nCustomXAChunkedBusTxMaxPayloadSize = 100\n"
                     "CustomXAChunkedTxTimeoutMS = 2\nCustomXAChunkedRxTimeoutMS = 2\n") +
             QUICK,
         {"--fault", "patch:2:event=2", "--fault", "signature:2:pieces=4,10"},
         "CCustomX4410ADownloadAssistant::ChunkedTxRx sending chunk to HW  (59 bytes): 10 2F 2E "
         "37"},
        {"X4410B",
         "CustomDownload = X4410B\n",
         {"--reset-ntf"},
         "Waiting to receive NCI_RESET_NTF"},
        {"out of secure mode",
         std::string("CustomDownload = NFC\nCustomXAEnableSecure = 0\n") + QUICK,
         {},
         "SET_SECURE_MODE_CMD (DISABLE) succeeded"},
        {"pauses before signatures",
         std::string("CustomDownload = NFC\nCustomXATimeoutBeforeSignatureMS = 10\n") + QUICK,
         {},
         "Pausing before signature step"},
    };
    const std::string records = Joined(SampleRecords());
    for (const auto& test : cases) {
        SCOPED_TRACE(test.m_szName);
        const PROCESS_RESULT result = Run(test.m_strRules, NcdFile(records), test.m_ChipOptions);
        EXPECT_EQ(result.status, 0);
        EXPECT_THAT(result.err, IsEmpty());
        EXPECT_EQ(ReceivedRecords(), records);
        EXPECT_THAT(result.out, HasSubstr("A total of 5 NCD records will be loaded...\n"));
        EXPECT_THAT(result.out, HasSubstr(test.m_szLine));
        EXPECT_THAT(result.out,
                    HasSubstr("Downloaded 0 code bytes ( 0.0%) and 339 data bytes (100.0%). "
                              "Verified 0 code bytes ( 0.0%) and 0 data bytes ( 0.0%).   Current "
                              "state: Completed successfully\n"));
    }
}

TEST_F(PatchDownload, WhatThePartDoesNotAnswerEndsIt) {
    const struct {
        const char* m_szName;
        const char* m_szRules;
        std::vector<std::string> m_ChipOptions;
        std::size_t m_nRecords;  // that reached the part
        const char* m_szError;
    } cases[] = {
        {"patch record",
         "CustomDownload = NFC\n",
         {"--fault", "patch:2:drop"},
         2,
         " patch record transmission failed\n"},
        {"patch record with a wrong status",
         "CustomDownload = NFC\n",
         {"--fault", "patch:1:status=3"},
         1,
         " patch record transmission failed\n"},
        {"signature",
         "CustomDownload = NFC\nCustomXAMaxWaitForSignatureMS = 300\n",
         {"--fault", "signature:1:drop"},
         3,
         "Signature record transmission failed\n"},
        {"signature, half of the answer",
         "CustomDownload = NFC\nCustomXAMaxWaitForSignatureMS = 300\n",
         {"--fault", "signature:1:cut=5"},
         3,
         "Signature record transmission failed\n"},
        {"segments",
         "CustomDownload = NFC\nCustomXAChunkedBusTxMaxPayloadSize = 250\n"
         "CustomXAChunkedRxTimeoutMS = 1\n",
         {"--fault", "patch:2:silence"},
         2,
         " patch record transmission failed\n"},
        {"reset notification",
         "CustomDownload = X4410B\n",
         {},
         3,
         "  Failure waiting for the NCI_RESET_NTF notification\n"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.m_szName);
        const PROCESS_RESULT result =
            Run(test.m_szRules, NcdFile(Joined(SampleRecords())), test.m_ChipOptions);
        EXPECT_EQ(result.status, 241);
        EXPECT_EQ(result.err, test.m_szError);
        const auto end = SampleRecords().begin() + static_cast<std::ptrdiff_t>(test.m_nRecords);
        EXPECT_EQ(ReceivedRecords(), Joined({SampleRecords().begin(), end}));
        EXPECT_THAT(result.out, HasSubstr("Current state: Terminated with error\n"));
    }
}

TEST_F(PatchDownload, WhatCannotBeLoadedIsRefusedBeforeARecordGoesOut) {
    const std::string good = Joined(SampleRecords());
    std::string wrongPid = good;
    wrongPid[0] = '\x11';
    const struct {
        std::string m_strRules;
        std::string m_strNcd;
        std::vector<std::string> m_MoreArguments;
        const char* m_szError;
    } cases[] = {
        {"CustomDownload = NFC\n",
         NcdFile(Joined({Record(1, 5)})),
         {},
         "No signature records found!\n"},
        {"CustomDownload = NFC\n",
         NcdFile(good.substr(0, good.size() - 30)),
         {},
         "Not enough NCD data bytes in record -- 40 bytes expected\n"},
        {"CustomDownload = NFC\n",
         NcdFile(wrongPid),
         {},
         "Unexpected PID value 0x11 in NCD record\n"},
        {"CustomDownload = NFC\n",
         std::string(16, '\0'),
         {},
         "Patch set count is 0 in NCD file patch.ncd\n"},
        {"CustomDownload = NFC\n",
         NcdFile(good),
         {"-CONFIG", "patch.ncd"},
         "Must load exactly one config file.\n"},
        {"CustomDownload = NFC\n",
         NcdFile(good),
         {"-FIRMWARE", "patch.ncd"},
         "Cannot load firmware in SPD mode.\n"},
        {"CustomDownload = NFC\n",
         NcdFile(good),
         {"-MINIDRIVER", "patch.ncd"},
         "Cannot load minidrivers in SPD mode.\n"},
        {"CustomDownload = X4410Z\n",
         NcdFile(good),
         {},
         "Unrecognized custom download type X4410Z\n"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.m_szError);
        const PROCESS_RESULT result = Run(test.m_strRules, test.m_strNcd, {}, test.m_MoreArguments);
        EXPECT_EQ(result.status, 241);
        EXPECT_EQ(result.err, test.m_szError);
        EXPECT_THAT(result.out, IsEmpty());
        EXPECT_THAT(ReceivedRecords(), IsEmpty());
    }
}

// Only the first of two rule files counts, and VINTORMODE never looks for a custom download.
TEST_F(PatchDownload, IsSelectedByTheFirstRuleFileOutsideVintorModeOnly) {
    m_Folder.Write("other.vnp", "DevicePreset = \"Other\"\nCustomDownload = X4410Z\n");
    const std::string records = Joined(SampleRecords());
    EXPECT_EQ(Run(std::string("CustomDownload = NFC\n") + QUICK, NcdFile(records), {},
                  {"-RULES", "other.vnp"})
                  .status,
              0);
    EXPECT_EQ(ReceivedRecords(), records);

    const PROCESS_RESULT result =
        RunProcess(m_Folder, {CHIPSIM_PROGRAM, "--", HCILOAD_PROGRAM, "-VINTORMODE", "-VNP",
                              "nfc.vnp", "-PORT", "/dev/tty", "-CONFIG", "patch.ncd"});
    EXPECT_EQ(result.status, 241);
    EXPECT_EQ(result.err, "NOT_IMPLEMENTED_CGS_TO_BINARY_CONVERSION\n");
}

}  // namespace
