#include "download/HciExchange.h"

#include <gmock/gmock.h>

#include <deque>

#include "download/VintorCommands.h"
#include "download/VintorImages.h"
#include "support/CaseFile.h"
#include "support/DownloadSetup.h"
#include "support/FakeClock.h"
#include "support/SampleImages.h"

namespace {

using namespace std::chrono_literals;

// "4 0E 04, 8 01": bytes that come unasked so many milliseconds after the start.
CFakeClock::SleepHook Arriving(CFakeChip& chip, const std::string& arrivals) {
    std::deque<std::string> rest;
    for (const std::string& arrival : Split(arrivals, ", ")) {
        if (!arrival.empty()) {
            rest.push_back(arrival);
        }
    }
    return [&chip, rest](CFakeClock::Duration elapsed) mutable {
        while (!rest.empty() && elapsed >= std::stoul(rest[0]) * 1ms) {
            chip.Receive(FromHex(rest[0].substr(rest[0].find(' '))));
            rest.pop_front();
        }
    };
}

// Sends a reset and waits for the bytes, of which the last anyBytes may be any.
std::string Exchange(CFakeChip& chip, Bytes reply, unsigned int anyBytes, unsigned int timeoutMS,
                     CChipDownloader* downloader = nullptr) {
    CByteBuffer prefix(1, 0x01);
    Bytes command = {0x03, 0x0C, 0x00};
    const auto length = static_cast<unsigned int>(reply.size());
    std::string error = "not cleared";
    const bool found =
        anyBytes > 0
            ? SendCommandAndWaitForCompletionMatchRxStart(&chip, &prefix, command.data(), 3,
                                                          reply.data(), length - anyBytes, length,
                                                          timeoutMS, &error, downloader)
            : SendCommandAndWaitForCompletion(&chip, &prefix, command.data(), 3, reply.data(),
                                              length, timeoutMS, &error, downloader);
    EXPECT_EQ(chip.m_Sent.back(), "01 03 0C 00");
    return found ? ToHex(reply) : error.empty() ? "nothing" : error;
}

const Bytes REPLY = FromHex("0E 04 01 03 0C 00");

std::string Execute(const std::string& command, CDownloadSetup& setup) {
    CChipDownloader* const downloader = &setup.Downloader();
    if (command == "data") {
        return Exchange(setup.Chip(), FromHex("04 0E 00 00 00"), 3, 500);
    }
    if (command.starts_with("reply")) {
        const auto timeoutMS = static_cast<unsigned int>(std::stoul(command.substr(5)));
        return Exchange(setup.Chip(), REPLY, 0, timeoutMS);
    }
    const bool isDone = command == "reset"    ? PerformHCIReset(downloader)
                        : command == "launch" ? VintorMinidriverLaunch(downloader, 0xFFFFFFFF)
                        : command == "start"  ? VintorDownloadReset(downloader)
                        : command == "erase"  ? VintorChipErase(downloader)
                                              : VerifyCRC(downloader, 0x200000, 5, 0x12345678);
    return isDone ? "done" : setup.Error().empty() ? "nothing" : setup.Error();
}

TEST(HciExchange, EachCommandWaitsForItsReplyAndNoLonger) {
    for (const FILE_CASE& waits : ReadCases(HCILOAD_TEST_DATA "/waits.txt")) {
        for (const auto& [mark, line] : waits.lines) {
            CDownloadSetup setup({});
            setup.Chip().m_Faults = {{"", {}, ""}};  // no answer by itself
            const std::vector<std::string> parts = Split(line, " | ");
            const CFakeClock clock(Arriving(setup.Chip(), parts.at(1)));
            const std::string outcome = Execute(parts.at(0), setup);
            EXPECT_EQ(std::to_string(clock.GetElapsed() / 1ms) + " ms: " + outcome, parts.at(2))
                << waits.name << ": " << line;
        }
    }
}

TEST(HciExchange, OnlyAReadErrorIsReported) {
    CFakeChip chip;
    chip.m_Faults = {{"01 03", {}, "port is gone"}};
    const CFakeClock clock;
    EXPECT_EQ(Exchange(chip, REPLY, 0, 500), "port is gone");
    chip.m_strTransmitError = "port is gone";
    EXPECT_EQ(Exchange(chip, REPLY, 0, 500), ToHex(REPLY));
}

TEST(HciExchange, TracesIntoTheStatusDetailsOfADownloader) {
    CDownloadSetup setup({});
    setup.Chip().m_Faults = {{"01 03", {"55*128", ToHex(REPLY)}, ""}};
    const CFakeClock clock;
    Exchange(setup.Chip(), REPLY, 0, 500, &setup.Downloader());
    const std::string half = ToHex(Bytes(32, 0x55));
    EXPECT_THAT(
        setup.NewDetails(),
        testing::ElementsAre(
            "Sending to HW  (4 bytes): 01 03 0C 00",
            "So far recvd from HW  (128 bytes): " + half + " ...  " + half,
            "Rx buffer full. Throwing out older bytes:  (122 bytes): " + half + " ...  " + half,
            "So far recvd from HW  (12 bytes): 55 55 55 55 55 55 " + ToHex(REPLY)));
}

TEST(HciExchange, DrainsAtOnceOrUntilTheLineIsSilent) {
    std::string endless = "10 55";
    for (unsigned int ms = 20; ms < 1000; ms += 10) {
        endless += ", " + std::to_string(ms) + " 55";
    }
    const struct {
        std::string (*m_pfnDrain)(CChipDownloader*);
        std::string m_strReceived;
        std::string m_strArrivals;
        std::string m_strOutcome;
    } cases[] = {
        {ClearRxFIFO, "55*65", "1 55",
         "0 ms; (64 bytes): " + ToHex(Bytes(64, 0x55)) + "; (1 bytes): 55"},
        {DrainUntilSilent, "", "1 55", "0 ms"},
        {DrainUntilSilent, "01", "21 55", "20 ms; (1 bytes): 01"},
        {DrainUntilSilent, "01", "16 02, 36 03",
         "60 ms; (1 bytes): 01; (1 bytes): 02; (1 bytes): 03"},
        {DrainUntilSilent, "01", endless, "500 ms; (1 bytes): 01; (1 bytes): 55"},
    };
    for (const auto& c : cases) {
        CDownloadSetup setup({});
        const CFakeClock clock(Arriving(setup.Chip(), c.m_strArrivals));
        setup.Chip().Receive(FromHex(c.m_strReceived));
        EXPECT_EQ(c.m_pfnDrain(&setup.Downloader()), "");
        std::string outcome = std::to_string(clock.GetElapsed() / 1ms) + " ms";
        for (const std::string& detail : setup.NewDetails()) {
            outcome += ";" + Split(detail, "Clearing Rx FIFO of bytes: ").at(1);
        }
        EXPECT_EQ(outcome, c.m_strOutcome);
        setup.Chip().m_strReadError = "port is gone";
        EXPECT_EQ(c.m_pfnDrain(&setup.Downloader()), "port is gone");
    }
}

// The chip holds the right bytes. What comes too late for the first drain must not pass for them.
TEST(HciExchange, ReadingBackWaitsForASilentLine) {
    CDownloadRequest request;
    request.m_strFirmware = IntelHexText({{0x200000, {1, 2, 3, 4, 5}}});
    CDownloadSetup setup(request);
    ASSERT_EQ(setup.Prepare(), "");
    const CFakeClock clock(Arriving(setup.Chip(), "15 55 AA, 35 55 AA"));
    setup.Downloader().SetState(DOWNLOAD_READY_TO_DOWNLOAD);
    ASSERT_TRUE(VintorDownloadFirmware(&setup.Downloader(), false));
    setup.Downloader().SetState(DOWNLOAD_READY_TO_VERIFY);
    EXPECT_TRUE(VintorVerifyFirmware(&setup.Downloader())) << setup.Error();
}

}  // namespace
