#include "download/VintorCommands.h"

#include <gtest/gtest.h>

#include "download/HciExchange.h"
#include "download/VintorImages.h"
#include "support/ArrivalTimes.h"
#include "support/DownloadSetup.h"
#include "support/SampleImages.h"

namespace {

constexpr char ERASED[] = "04 0E 04 01 CE FF 00";
constexpr char MARKER[] = "04 FF 01 CE";
constexpr char SILENT[] = "Chip erase timeout (nLastProgressReportTime)";
constexpr char ENDLESS[] = "Chip erase timeout (nMaxLoopTries)";
constexpr char CRC[] = "04 0E 08 01 CC FC 00 78 56 34 12";
constexpr char NO_CRC[] = "CRC timeout while checking 5 bytes starting at address 0x00200000";
constexpr char LAUNCHED[] = "04 0E 04 01 4E FC 00";
constexpr char NO_RESET[] = "no reset";

bool Reset(CChipDownloader* downloader) {
    const bool isReset = PerformHCIReset(downloader);
    if (!isReset) {
        downloader->SetError(NO_RESET);
    }
    return isReset;
}

bool Launch(CChipDownloader* downloader) {
    return VintorMinidriverLaunch(downloader, 0xFFFFFFFF);
}

bool CheckCRC(CChipDownloader* downloader) {
    return VerifyCRC(downloader, 0x200000, 5, 0x12345678);
}

TEST(VintorCommands, EachWaitsForItsReplyAndNoLonger) {
    const struct {
        bool (*m_pfnCommand)(CChipDownloader*);
        Arrivals m_Arrivals;
        std::string m_strError;
        long m_nElapsedMS;
    } cases[] = {
        // The number in the event, of commands that the chip takes from now on, may be any.
        {Reset, {{100, "04 0E 04 05 03 0C 00"}}, "", 100},
        {Reset, {{101, "04 0E 04 01 03 0C 00"}}, NO_RESET, 100},
        {Launch, {{100, LAUNCHED}}, "", 100},
        {Launch, {{101, LAUNCHED}}, "Launch minidriver at 0xFFFFFFFF failed", 100},
        {VintorDownloadReset, {{500, LAUNCHED}}, "", 500},
        {VintorDownloadReset, {}, "Chip reset to address 0x00000000 failed ", 500},
        {VintorChipErase, {{25005, ERASED}}, "", 25005},
        {VintorChipErase, {{25006, ERASED}}, SILENT, 25005},
        {VintorChipErase, {{25006, MARKER}}, SILENT, 25005},
        {VintorChipErase, {{500, MARKER}}, SILENT, 25505},
        {VintorChipErase, {{500, "04 FF 01 CE 04"}}, SILENT, 25005},
        {VintorChipErase, {{25000, "04 FF 01"}, {25005, "CE"}}, ENDLESS, 50000},
        {VintorChipErase, {{20000, MARKER}, {40000, MARKER}, {50000, ERASED}}, "", 50000},
        {VintorChipErase, {{20000, MARKER}, {40000, MARKER}, {50005, ERASED}}, ENDLESS, 50000},
        {VintorChipErase, {{5, RepeatedHex("55", 128)}}, "Rx buffer full!", 10},
        {VintorChipErase, {{5, RepeatedHex("55", 121)}, {10, ERASED}}, "", 10},
        {CheckCRC, {{4000, CRC}}, "", 4000},
        {CheckCRC, {{4001, CRC}}, NO_CRC, 4000},
        {CheckCRC, {{8, "AA AA AA 0E 08 01 CC FC 00 78 56 34"}, {16, "12"}}, "", 16},
        {CheckCRC, {{4, RepeatedHex("55", 128)}}, NO_CRC, 8},
    };
    for (const auto& c : cases) {
        CDownloadSetup setup({});
        setup.Chip().m_Faults = {{"", {}, ""}};  // no answer by itself
        const CArrivalTimes time(setup.Chip(), c.m_Arrivals);
        SCOPED_TRACE(testing::PrintToString(c.m_Arrivals));
        EXPECT_EQ(c.m_pfnCommand(&setup.Downloader()), c.m_strError.empty());
        EXPECT_EQ(setup.Error(), c.m_strError);
        EXPECT_EQ(time.ElapsedMS(), c.m_nElapsedMS);
    }
}

// The chip holds the right bytes. What comes too late for the first drain must not pass for them.
TEST(VintorCommands, ReadingBackWaitsForASilentLine) {
    CDownloadRequest request;
    request.m_Firmwares = {IntelHexText({{0x200000, {1, 2, 3, 4, 5}}})};
    CDownloadSetup setup(request);
    ASSERT_EQ(setup.Prepare(), "");
    const CArrivalTimes time(setup.Chip(), {{15, "55 AA"}, {35, "55 AA"}});
    setup.Downloader().SetState(DOWNLOAD_READY_TO_DOWNLOAD);
    ASSERT_TRUE(VintorDownloadFirmware(&setup.Downloader(), false));
    setup.Downloader().SetState(DOWNLOAD_READY_TO_VERIFY);
    EXPECT_TRUE(VintorVerifyFirmware(&setup.Downloader())) << setup.Error();
}

}  // namespace
