#include "download/ChipDownloader.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "support/DownloadSetup.h"
#include "support/FakeClock.h"
#include "support/SampleImages.h"

namespace {

TEST(ChipDownloader, PreparesTheStandardSequenceInVintorModeOnly) {
    CChipDownloader downloader({{}, true, nullptr}, nullptr);
    EXPECT_EQ(downloader.VintorDownloadFinalPreparations(),
              "CChipDownloader::PrepareForVintorDownload ERROR: NOT VINTOR MODE");
    EXPECT_EQ(downloader.CancelDownload(0), "Not running!");
}

TEST(ChipDownloader, HasNoPrefixForOtherPorts) {
    CDownloadSetup setup({});
    CFakeChip chip(" PORT=/dev/spi0\n");
    EXPECT_EQ(CChipDownloader(setup.Info(), &chip).UARTTransmitPrefix(), nullptr);
}

// Runs for ever: a record size of 256 makes no progress.
class EndlessDownload : public testing::Test {
protected:
    EndlessDownload() : m_Setup(Request()) {
        EXPECT_EQ(m_Setup.Prepare(), "");
        m_Setup.Chip().m_pfnFrameSent = [this] {
            thread_local const unsigned int thread = ++m_nThreads;
            m_nFramesOfFirst += thread == 1 ? 1 : 0;
            ++m_nFrames;
        };
        Start();
        WaitForFrames();
    }

    static CDownloadRequest Request() {
        CDownloadRequest request;
        request.m_strFirmware = IntelHexText({{0x200000, Bytes(300)}});
        request.m_Rules = {{"DLConfigTargeting", "RAM"}, {"DLMaxWriteSize", "256"}};
        return request;
    }

    void Start() { EXPECT_EQ(m_Setup.Downloader().StartDownload(nullptr), ""); }

    // In a millisecond there are hundreds of frames: on this clock they take no time.
    static void WaitOneMs() { std::this_thread::sleep_for(std::chrono::milliseconds(1)); }

    void WaitForFrames() {
        const unsigned int last = m_nFrames + 10;
        for (int ms = 0; ms < 10000 && m_nFrames < last; ++ms) {
            WaitOneMs();
        }
        ASSERT_GE(m_nFrames, last);
    }

    const CFakeClock m_Clock;
    std::atomic<unsigned int> m_nFrames = 0;
    std::atomic<unsigned int> m_nFramesOfFirst = 0;
    std::atomic<unsigned int> m_nThreads = 0;
    CDownloadSetup m_Setup;
};

TEST_F(EndlessDownload, EndsWithTheDownloader) {
    EXPECT_EQ(m_Setup.State(), DOWNLOAD_LOADING_CODE);
    m_Setup.DestroyDownloader();
    const unsigned int frames = m_nFrames;
    WaitOneMs();
    EXPECT_EQ(m_nFrames, frames);
}

TEST_F(EndlessDownload, EndsWhenTheNextOneStarts) {
    Start();
    const unsigned int frames = m_nFramesOfFirst;
    WaitForFrames();
    EXPECT_EQ(m_nFramesOfFirst, frames);
}

TEST_F(EndlessDownload, WaitsForAPollerWhoIsNextInLine) {
    int longWaits = 0;
    for (int poll = 0; poll < 50; ++poll) {
        WaitOneMs();
        const unsigned int asked = m_nFrames;
        const CLockGuard access(m_Setup.Downloader().AccessLock());
        const unsigned int frames = m_nFrames;
        longWaits += frames - asked > 2 ? 1 : 0;
        WaitOneMs();
        ASSERT_EQ(m_nFrames, frames);
    }
    EXPECT_LT(longWaits, 25);
}

}  // namespace
