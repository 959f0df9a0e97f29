#include "download/HciExchange.h"

#include <gmock/gmock.h>

#include "support/ArrivalTimes.h"
#include "support/DownloadSetup.h"

namespace {

using testing::ElementsAre;

const std::string REPLY = "0E 04 01 03 0C 00";
const std::string DATA = "04 0E 00 00 00";  // a pattern of two bytes and room for three

// Sends a reset to a chip that says nothing by itself. What comes of it: when it ended, and the
// reply or the error.
std::string Exchange(CFakeChip& chip, const Arrivals& arrivals, const std::string& expected,
                     unsigned int timeoutMS = 500, CChipDownloader* downloader = nullptr) {
    const CArrivalTimes time(chip, arrivals);
    chip.m_Faults = {{"01 03", {}, chip.m_strReadError}};
    CByteBuffer prefix(1, 0x01);
    Bytes command = {0x03, 0x0C, 0x00};
    Bytes reply = FromHex(expected);
    const auto length = static_cast<unsigned int>(reply.size());
    std::string error = "not cleared";
    const bool found = expected == DATA
                           ? SendCommandAndWaitForCompletionMatchRxStart(
                                 &chip, &prefix, command.data(), 3, reply.data(), 2, length,
                                 timeoutMS, &error, downloader)
                           : SendCommandAndWaitForCompletion(&chip, &prefix, command.data(), 3,
                                                             reply.empty() ? nullptr : reply.data(),
                                                             length, timeoutMS, &error, downloader);
    EXPECT_THAT(chip.m_Sent, ElementsAre("01 03 0C 00"));
    return std::to_string(time.ElapsedMS()) + " ms: " + (found ? ToHex(reply) : "nothing") + error;
}

TEST(HciExchange, WaitsForTheWholeReplyInTime) {
    const std::string noise125 = RepeatedHex("55", 125) + " ";
    const struct {
        std::string m_strExpected;
        unsigned int m_nTimeoutMS;
        Arrivals m_Arrivals;
        std::string m_strOutcome;
    } cases[] = {
        {REPLY, 500, {{4, REPLY}}, "4 ms: " + REPLY},
        {REPLY, 500, {{499, REPLY}}, "500 ms: " + REPLY},
        {REPLY, 500, {{501, REPLY}}, "500 ms: nothing"},
        {REPLY, 0, {{4, REPLY}}, "4 ms: " + REPLY},
        {REPLY, 7, {{5, REPLY}}, "4 ms: nothing"},
        {REPLY, 8, {{5, REPLY}}, "8 ms: " + REPLY},
        // A full buffer keeps as much as the reply is long.
        {REPLY, 500, {{4, noise125 + "0E 04 01"}, {8, "03 0C 00"}}, "8 ms: " + REPLY},
        {REPLY, 500, {{4, noise125 + "0E 04 01"}, {8, "55 03 0C 00"}}, "500 ms: nothing"},
        {REPLY, 500, {{4, noise125 + noise125}, {16, REPLY}}, "16 ms: " + REPLY},
        {DATA, 500, {{4, "04 0E"}, {12, "AA"}, {16, "BB CC DD"}}, "16 ms: 04 0E AA BB CC"},
        {DATA, 500, {{4, "04 0E AA BB"}}, "500 ms: nothing"},
        {DATA, 500, {{4, "04 0F AA BB CC"}}, "500 ms: nothing"},
        // Data are counted from the start of the buffer, whatever comes before the pattern.
        {DATA, 500, {{4, "55 04 0E AA BB CC"}}, "4 ms: 04 0E 0E AA BB"},
        {DATA, 500, {{4, RepeatedHex("55", 507) + " 04 0E AA BB CC"}}, "4 ms: 04 0E 55 55 55"},
        {DATA, 500, {{4, RepeatedHex("55", 511) + " 04"}, {8, "0E"}}, "8 ms: 04 0E 55 55 04"},
    };
    for (const auto& c : cases) {
        CFakeChip chip;
        EXPECT_EQ(Exchange(chip, c.m_Arrivals, c.m_strExpected, c.m_nTimeoutMS), c.m_strOutcome);
    }
}

TEST(HciExchange, OnlyAReadErrorIsReported) {
    CFakeChip reading;
    reading.m_strReadError = "port is gone";
    EXPECT_EQ(Exchange(reading, {{4, "0E 04"}}, REPLY), "8 ms: nothingport is gone");
    CFakeChip sending;
    sending.m_strTransmitError = "port is gone";
    EXPECT_EQ(Exchange(sending, {{4, REPLY}}, REPLY), "4 ms: " + REPLY);
}

TEST(HciExchange, TracesIntoTheStatusDetailsOfADownloader) {
    CDownloadSetup setup({});
    Exchange(setup.Chip(), {{4, RepeatedHex("55", 128)}, {8, REPLY}}, REPLY, 500,
             &setup.Downloader());
    const std::string half = RepeatedHex("55", 32);
    EXPECT_THAT(
        setup.NewDetails(),
        ElementsAre(
            "Sending to HW  (4 bytes): 01 03 0C 00",
            "So far recvd from HW  (128 bytes): " + half + " ...  " + half,
            "Rx buffer full. Throwing out older bytes:  (122 bytes): " + half + " ...  " + half,
            "So far recvd from HW  (12 bytes): " + RepeatedHex("55", 6) + " " + REPLY));
}

TEST(HciExchange, DrainsAtOnceOrUntilTheLineIsSilent) {
    Arrivals endless;
    for (unsigned int ms = 0; ms < 1000; ms += 10) {
        endless.emplace_back(ms, "55 AA");
    }
    const struct {
        std::string (*m_pfnDrain)(CChipDownloader*);
        std::string m_strReceived;
        Arrivals m_Arrivals;
        long m_nElapsedMS;
        std::vector<std::string> m_Details;
    } cases[] = {
        {ClearRxFIFO,
         RepeatedHex("55", 65),
         {{1, "55"}},
         0,
         {"(64 bytes): " + RepeatedHex("55", 64), "(1 bytes): 55"}},
        {DrainUntilSilent, "", {{1, "55"}}, 0, {}},
        {DrainUntilSilent, "01", {{21, "55"}}, 20, {"(1 bytes): 01"}},
        {DrainUntilSilent,
         "01",
         {{16, "02"}, {36, "03"}},
         60,
         {"(1 bytes): 01", "(1 bytes): 02", "(1 bytes): 03"}},
        {DrainUntilSilent, "01", endless, 500, {"(1 bytes): 01", "(2 bytes): 55 AA"}},
    };
    for (const auto& c : cases) {
        CDownloadSetup setup({});
        const CArrivalTimes time(setup.Chip(), c.m_Arrivals);
        setup.Chip().Receive(FromHex(c.m_strReceived));
        EXPECT_EQ(c.m_pfnDrain(&setup.Downloader()), "");
        EXPECT_EQ(time.ElapsedMS(), c.m_nElapsedMS);
        std::vector<std::string> details = c.m_Details;
        for (std::string& detail : details) {
            detail.insert(0, "Clearing Rx FIFO of bytes:  ");
        }
        EXPECT_EQ(setup.NewDetails(), details);
        setup.Chip().m_strReadError = "port is gone";
        EXPECT_EQ(c.m_pfnDrain(&setup.Downloader()), "port is gone");
    }
}

}  // namespace
