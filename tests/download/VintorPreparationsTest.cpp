#include <gmock/gmock.h>

#include "support/DownloadSetup.h"
#include "support/FakeClock.h"
#include "support/SampleImages.h"

namespace {

using Texts = std::vector<std::string>;

const Texts MINIDRIVER_COMMAND = {"01 2E FC 00"};
const Texts RESET = {"01 03 0C 00"};

CDownloadRequest WithMessages(const std::string& messages) {
    CDownloadRequest request;
    request.m_Firmwares = {IntelHexText({{0x100, {1}}})};
    if (!messages.empty()) {
        request.m_Rules = {{"DLConfigTargeting", "RAM"}, {"CustomVintorPreloadMessages", messages}};
    }
    return request;
}

TEST(VintorPreparations, SendPreloadMessagesAsTheyAreWritten) {
    const std::string bytes128 = RepeatedHex("55", 128);
    const std::string bytes129 = RepeatedHex("55", 129);
    const struct {
        std::string m_strMessages;
        Texts m_Sent;
        std::string m_strError;
        int m_nMs = 0;
        CFakeChip::CFault m_Fault = {"none", {}, ""};
    } cases[] = {
        {"", MINIDRIVER_COMMAND, "", 4},
        {"{01 03 0C 00} {0E 04 01 03 0C 00} {200}", {"01 03 0C 00", "01 2E FC 00"}, "", 8},
        {"one { 0x1 3 xC 0 } for {0x0e} in { 8 ms } and {01 AA 0C 00}{AA 0C 01}{20}",
         {"01 03 0C 00", "01 AA 0C 00", "01 2E FC 00"},
         "",
         12},
        {"{" + bytes128 + "} {0E} {20}", {bytes128, "01 2E FC 00"}, "", 8, {"55", {"0E"}, ""}},
        {"{01 03 0C 00} {0E} {200", MINIDRIVER_COMMAND, "", 4},
        {"{01 3G} {0E} {20}", {}, "Invalid BYTES TO SEND:01 3G"},
        {"{} {0E} {20}", {}, "Invalid BYTES TO SEND:"},
        {"{" + bytes129 + "} {0E} {20}", {}, "Invalid BYTES TO SEND:" + bytes129},
        {"{01} { } {20}", {}, "Invalid BYTES EXPECTED BACK: "},
        {"{01} {0E} {soon}", {}, "Invalid MAX TIME TO WAIT:soon"},
        {"{01} {0E} {0}", {}, "Invalid MAX TIME TO WAIT:0"},
        {"{01} {0E} {-5}", {}, "Invalid MAX TIME TO WAIT:-5"},
        {"{01 03 0C 00} {0E} {20} {02} {0E} {}", RESET, "Invalid MAX TIME TO WAIT:", 4},
        {"{01 03 0C 00} {0F} {20}", RESET, "SendCommandAndWaitForCompletion call failed", 20},
        {"{01 03 0C 00} {0E} {20}",
         RESET,
         "SendCommandAndWaitForCompletion call failedgone",
         4,
         {"01 03", {}, "gone"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.m_strMessages);
        const CFakeClock clock;
        CDownloadSetup setup(WithMessages(c.m_strMessages));
        setup.Chip().m_Faults = {c.m_Fault};
        const char* const name = "CChipDownloader::VintorPreDownloadSendMessages: ";
        const std::string expected = c.m_strError.empty() ? "" : name + c.m_strError;
        EXPECT_EQ(setup.Downloader().PrepareForDownload(), expected);
        EXPECT_EQ(setup.Error(), expected);
        EXPECT_EQ(setup.Chip().m_Sent, c.m_Sent);
        EXPECT_EQ(clock.GetElapsed() / std::chrono::milliseconds(1), c.m_nMs);
    }
}

TEST(VintorPreparations, WaitATenthOfASecondForTheMinidriverCommand) {
    for (const std::string error : {"", "gone"}) {
        const CFakeClock clock;
        CDownloadSetup setup(WithMessages(""));
        setup.Chip().m_Faults = {{"01 2E FC 00", {}, error}};
        EXPECT_EQ(setup.Prepare(), error + " VintorDownloadMinidriver failed!");
        EXPECT_EQ(clock.GetElapsed() / std::chrono::milliseconds(1), error.empty() ? 100 : 4);
    }
}

TEST(VintorPreparations, BelongToVintorModeOnly) {
    CDownloadRequest request = WithMessages("{01 03 0C 00} {0E} {20}");
    request.m_bVintorMode = false;
    CDownloadSetup setup(request);
    EXPECT_EQ(setup.Downloader().PrepareForDownload(), "");
    EXPECT_EQ(setup.Downloader().VintorDownloadFinalPreparations(),
              "CChipDownloader::PrepareForVintorDownload ERROR: NOT VINTOR MODE");
    EXPECT_TRUE(setup.Chip().m_Sent.empty());
}

TEST(VintorPreparations, TakesThreeBraceGroupsInARow) {
    const struct {
        const char* m_szText;
        Texts m_Groups;
        const char* m_szRest;  // null = not three groups
    } cases[] = {
        {"x{ a }y{}z{c}{d}", {" a ", "", "c"}, "{d}"},
        {"}{a{b}}{b}}{c}}", {"a{b", "b", "c"}, "}"},  // the first closing brace ends a group
        {"{a}{b}{c", {"a", "b", ""}, nullptr},
        {nullptr, {"", "", ""}, nullptr},
    };
    for (const auto& c : cases) {
        Texts groups(3, "old");
        EXPECT_STREQ(CChipDownloader::ExtractNextByteSequenceToSend(c.m_szText, &groups[0],
                                                                    &groups[1], &groups[2]),
                     c.m_szRest);
        EXPECT_EQ(groups, c.m_Groups);
    }
}

}  // namespace
