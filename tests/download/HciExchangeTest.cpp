#include "download/HciExchange.h"

#include <gmock/gmock.h>

#include "support/DownloadSetup.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char RESET[] = "03 0C 00";
constexpr char RESET_REPLY[] = "0E 04 01 03 0C 00";

// One exchange with a chip that answers it with the given pieces.
struct CExchange {
    explicit CExchange(std::vector<std::string> pieces = {}, std::string readError = {})
        : m_Pieces(std::move(pieces)), m_strReadError(std::move(readError)) {}

    std::vector<std::string> m_Pieces;
    std::string m_strReadError;
    std::string m_strCommand = RESET;  // "" sends none
    std::string m_strExpected = RESET_REPLY;
    unsigned int m_nMatchLength = 0;  // not 0: the variant that hands data back
    unsigned int m_nTimeoutMS = 40;
    bool m_bWithPrefix = true;
    CChipDownloader* m_pDownloader = nullptr;

    CFakeChip m_Chip;
    std::string m_strError = "not cleared";
    Bytes m_Reply;

    bool Run() {
        m_Chip.m_Faults = {{"", m_Pieces, m_strReadError}};
        Bytes indicator = {0x01};
        CByteBuffer prefix(indicator.data(), 1, BYTE_BUFFER_OWNED);
        CByteBuffer* const usedPrefix = m_bWithPrefix ? &prefix : nullptr;
        Bytes command = FromHex(m_strCommand);
        unsigned char* const sent = command.empty() ? nullptr : command.data();
        const auto length = static_cast<unsigned int>(command.size());
        m_Reply = FromHex(m_strExpected);
        unsigned char* const expected = m_Reply.empty() ? nullptr : m_Reply.data();
        const auto replyLength = static_cast<unsigned int>(m_Reply.size());
        if (m_nMatchLength == 0) {
            return SendCommandAndWaitForCompletion(&m_Chip, usedPrefix, sent, length, expected,
                                                   replyLength, m_nTimeoutMS, &m_strError,
                                                   m_pDownloader);
        }
        return SendCommandAndWaitForCompletionMatchRxStart(
            &m_Chip, usedPrefix, sent, length, expected, m_nMatchLength, replyLength, m_nTimeoutMS,
            &m_strError, m_pDownloader);
    }
};

TEST(HciExchange, SendsPrefixAndCommandInOneTransmission) {
    CExchange framed{{RESET_REPLY}};
    EXPECT_TRUE(framed.Run());
    EXPECT_THAT(framed.m_Chip.m_Sent, ElementsAre("01 03 0C 00"));

    CExchange bare{{RESET_REPLY}};
    bare.m_bWithPrefix = false;
    EXPECT_TRUE(bare.Run());
    EXPECT_THAT(bare.m_Chip.m_Sent, ElementsAre("03 0C 00"));

    CExchange silent;
    silent.m_strCommand = "";
    silent.m_Chip.Receive(FromHex(RESET_REPLY));
    EXPECT_TRUE(silent.Run());
    EXPECT_THAT(silent.m_Chip.m_Sent, IsEmpty());
}

TEST(HciExchange, WithoutAnExpectationNothingIsRead) {
    for (const unsigned int matchLength : {0U, 1U}) {
        CExchange exchange{{RESET_REPLY}};
        exchange.m_strExpected = "";
        exchange.m_nMatchLength = matchLength;
        EXPECT_TRUE(exchange.Run());
        EXPECT_EQ(exchange.m_Chip.m_nReads, 0U);
        EXPECT_EQ(exchange.m_strError, "");
    }
}

TEST(HciExchange, FindsTheReplyInWhateverComes) {
    const struct {
        const char* m_szName;
        std::vector<std::string> m_Pieces;
        bool m_bFound;
        unsigned int m_nReads;
    } cases[] = {
        {"with its packet indicator", {"04 0E 04 01 03 0C 00"}, true, 1},
        {"in pieces, with pauses", {"0E 04", "", "01 03 0C", "", "00"}, true, 5},
        {"behind noise", {"FF FF 0E 04 0E 04 01 03 0C 00"}, true, 1},
        {"before noise", {"0E 04 01 03 0C 00 55 55"}, true, 1},
        {"a failed status", {"0E 04 01 03 0C 01"}, false, 10},
        {"cut short", {"0E 04 01 03 0C"}, false, 10},
        {"nothing", {}, false, 10},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.m_szName);
        CExchange exchange(c.m_Pieces);
        EXPECT_EQ(exchange.Run(), c.m_bFound);
        EXPECT_EQ(exchange.m_strError, "");
        EXPECT_EQ(exchange.m_Chip.m_nReads, c.m_nReads);
    }
}

TEST(HciExchange, PollsEveryFourMillisecondsAndAtLeastOnce) {
    const struct {
        unsigned int m_nTimeoutMS;
        unsigned int m_nPolls;
    } cases[] = {{0, 1}, {3, 1}, {7, 1}, {8, 2}, {23, 5}};
    for (const auto& c : cases) {
        CExchange exchange;
        exchange.m_nTimeoutMS = c.m_nTimeoutMS;
        EXPECT_FALSE(exchange.Run());
        EXPECT_EQ(exchange.m_Chip.m_nReads, c.m_nPolls) << c.m_nTimeoutMS;
    }
    CExchange quick{{RESET_REPLY}};
    quick.m_nTimeoutMS = 3;
    EXPECT_TRUE(quick.Run());
}

TEST(HciExchange, OnlyAReadErrorIsReported) {
    CExchange reading{{"0E 04"}, "port is gone"};
    EXPECT_FALSE(reading.Run());
    EXPECT_EQ(reading.m_strError, "port is gone");
    EXPECT_EQ(reading.m_Chip.m_nReads, 2U);

    CExchange sending{{RESET_REPLY}};
    sending.m_Chip.m_strTransmitError = "port is gone";
    EXPECT_TRUE(sending.Run());
    EXPECT_EQ(sending.m_strError, "");
}

TEST(HciExchange, AFullBufferKeepsAsMuchAsThePatternIsLong) {
    const std::string fiftyBytes = RepeatedHex("55", 50);
    const struct {
        const char* m_szName;
        std::vector<std::string> m_Pieces;
        bool m_bFound;
    } cases[] = {
        {"cut by the end", {RepeatedHex("55", 125) + " 0E 04 01", "03 0C 00"}, true},
        {"last byte missing", {RepeatedHex("55", 123) + " 0E 04 01 03 0C", "00"}, true},
        {"right behind", {RepeatedHex("55", 128), RESET_REPLY}, true},
        {"far behind", {fiftyBytes, fiftyBytes, fiftyBytes, fiftyBytes, RESET_REPLY}, true},
        {"torn by noise", {RepeatedHex("55", 125) + " 0E 04 01", "55", "03 0C 00"}, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.m_szName);
        CExchange exchange(c.m_Pieces);
        EXPECT_EQ(exchange.Run(), c.m_bFound);
        EXPECT_EQ(exchange.m_strError, "");
    }
}

TEST(HciExchange, ReadBackDataAreCountedFromTheStartOfTheBuffer) {
    const struct {
        const char* m_szName;
        std::vector<std::string> m_Pieces;
        std::string m_strReply;  // "" = not found
    } cases[] = {
        {"reply alone", {"04 0E AA BB CC"}, "04 0E AA BB CC"},
        {"data later than the pattern", {"04 0E", "", "AA", "BB CC"}, "04 0E AA BB CC"},
        {"more behind it", {"04 0E AA BB CC DD"}, "04 0E AA BB CC"},
        {"data incomplete", {"04 0E AA BB"}, ""},
        {"no pattern", {"04 0F AA BB CC"}, ""},
        // The pattern is found; the data are shifted by the byte that should not be there.
        {"stray byte in front", {"55 04 0E AA BB CC"}, "04 0E 0E AA BB"},
        {"stray bytes as long as the reply", {"51 52 53 54 55 04 0E"}, "04 0E 53 54 55"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.m_szName);
        CExchange exchange(c.m_Pieces);
        exchange.m_strExpected = "04 0E 00 00 00";
        exchange.m_nMatchLength = 2;
        EXPECT_EQ(exchange.Run(), !c.m_strReply.empty());
        EXPECT_EQ(ToHex(exchange.m_Reply),
                  c.m_strReply.empty() ? exchange.m_strExpected : c.m_strReply);
        EXPECT_EQ(exchange.m_strError, "");
    }
}

TEST(HciExchange, ReadBackHasRoomFor512BytesAndThenKeepsAReplysLength) {
    CExchange fits{{RepeatedHex("55", 507) + " 04 0E AA BB CC"}};
    fits.m_strExpected = "04 0E 00 00 00";
    fits.m_nMatchLength = 2;
    EXPECT_TRUE(fits.Run());
    EXPECT_EQ(ToHex(fits.m_Reply), "04 0E 55 55 55");

    // What survives are the last five bytes, 55 55 55 55 04; the rest of the reply follows them.
    CExchange overflows{{RepeatedHex("55", 511) + " 04", "0E AA BB CC"}};
    overflows.m_strExpected = "04 0E 00 00 00";
    overflows.m_nMatchLength = 2;
    EXPECT_TRUE(overflows.Run());
    EXPECT_EQ(ToHex(overflows.m_Reply), "04 0E 55 55 04");
}

TEST(HciExchange, TracesIntoTheStatusDetailsOfADownloader) {
    CDownloadSetup setup({});
    CExchange exchange{{RepeatedHex("55", 128), RESET_REPLY}};
    exchange.m_pDownloader = &setup.Downloader();
    EXPECT_TRUE(exchange.Run());
    const std::string half = RepeatedHex("55", 32);
    EXPECT_THAT(
        setup.NewDetails(),
        ElementsAre(
            "Sending to HW  (4 bytes): 01 03 0C 00",
            "So far recvd from HW  (128 bytes): " + half + " ...  " + half,
            "Rx buffer full. Throwing out older bytes:  (122 bytes): " + half + " ...  " + half,
            "So far recvd from HW  (12 bytes): " + RepeatedHex("55", 6) + " " + RESET_REPLY));
}

TEST(HciExchange, FindsTheFirstWholeOccurrence) {
    const struct {
        std::string m_strBuffer;
        std::string m_strPattern;
        int m_nExpected;
    } cases[] = {
        {"01 02 03", "01 02 03", 0}, {"01 02", "01 02 03", -1},      {"01 02 03", "02 03", 1},
        {"01 02 03", "03 04", -1},   {"01 01 02 01 02", "01 02", 1}, {"", "01", -1},
    };
    for (const auto& c : cases) {
        Bytes buffer = FromHex(c.m_strBuffer);
        const Bytes pattern = FromHex(c.m_strPattern);
        const unsigned char* const found =
            FindBytesInBuffer(buffer.data(), static_cast<unsigned int>(buffer.size()),
                              pattern.data(), static_cast<unsigned int>(pattern.size()));
        EXPECT_EQ(found == nullptr ? -1 : found - buffer.data(), c.m_nExpected) << c.m_strBuffer;
    }
}

TEST(HciExchange, FetchesBehindWhatIsThereAndNeverPastTheEnd) {
    CFakeChip chip;
    chip.Receive({3, 4, 5, 6});
    Bytes buffer = {1, 2, 0, 0, 0, 99};
    unsigned int count = 2;
    EXPECT_EQ(FetchMoreReceivedBytes(&chip, buffer.data(), 5, &count), "");
    EXPECT_EQ(count, 5U);
    EXPECT_EQ(buffer, (Bytes{1, 2, 3, 4, 5, 99}));
    EXPECT_EQ(FetchMoreReceivedBytes(&chip, buffer.data(), 5, &count), "Rx buffer full!");
    EXPECT_EQ(chip.m_nReads, 1U);
}

TEST(HciExchange, DrainsWhatWasReceivedWithoutWaiting) {
    CDownloadSetup setup({});
    setup.Chip().Receive(FromHex(RepeatedHex("55", 65)));
    setup.Chip().Receive(FromHex("0E 04"));
    EXPECT_EQ(ClearRxFIFO(&setup.Downloader()), "");
    EXPECT_EQ(setup.Chip().m_nReads, 4U);
    EXPECT_THAT(setup.NewDetails(),
                ElementsAre("Clearing Rx FIFO of bytes:  (64 bytes): " + RepeatedHex("55", 64),
                            "Clearing Rx FIFO of bytes:  (1 bytes): 55",
                            "Clearing Rx FIFO of bytes:  (2 bytes): 0E 04"));
    EXPECT_EQ(ClearRxFIFO(&setup.Downloader()), "");
    EXPECT_EQ(setup.Chip().m_nReads, 5U);
}

TEST(HciExchange, AResetIsAnsweredOrNot) {
    CDownloadSetup setup({});
    EXPECT_TRUE(PerformHCIReset(&setup.Downloader()));
    setup.Chip().m_Faults = {{"01 03 0C 00", {"04 0E 04 01 03 0C 01"}, ""}};
    EXPECT_FALSE(PerformHCIReset(&setup.Downloader()));
    EXPECT_THAT(setup.Chip().m_Sent, ElementsAre("01 03 0C 00", "01 03 0C 00"));
    EXPECT_THAT(setup.NewDetails(), IsEmpty());
    // The lock is free again.
    EXPECT_TRUE(setup.Downloader().LockForAccess());
    setup.Downloader().UnlockAccess();
}

}  // namespace
