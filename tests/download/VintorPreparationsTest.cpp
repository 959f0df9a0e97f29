#include <gmock/gmock.h>

#include "support/DownloadSetup.h"
#include "support/SampleImages.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr char MINIDRIVER_COMMAND[] = "01 2E FC 00";
constexpr char TEXT[] = "CChipDownloader::VintorPreDownloadSendMessages: ";

std::string Message(const std::string& toSend) {
    std::string text = "{";
    return text.append(toSend).append("} {0E} {20}");
}

CDownloadRequest WithMessages(const std::string& messages) {
    CDownloadRequest request;
    request.m_Firmwares = {IntelHexText({{0x100, {1}}})};
    if (!messages.empty()) {
        request.m_Rules = {{"DLConfigTargeting", "RAM"}, {"CustomVintorPreloadMessages", messages}};
    }
    return request;
}

TEST(VintorPreparations, PreloadMessagesGoOutAsTheyAreWritten) {
    const struct {
        const char* m_szName;
        std::string m_strMessages;
        std::vector<std::string> m_Sent;
        std::string m_strError;
    } cases[] = {
        {"none", "", {MINIDRIVER_COMMAND}, ""},
        {"one", "{01 03 0C 00} {0E 04 01 03 0C 00} {200}", {"01 03 0C 00", MINIDRIVER_COMMAND}, ""},
        {"two, with words around them",
         "first { 0x1 3 xC 0 } answer {0x0e} for { 8 ms } then {01 AA 0C 00}{01 AA 0C 01}{20}",
         {"01 03 0C 00", "01 AA 0C 00", MINIDRIVER_COMMAND},
         ""},
        {"a brace too few: not there at all", "{01 03 0C 00} {0E} {200", {MINIDRIVER_COMMAND}, ""},
        {"two groups only", "{01 03 0C 00} {0E}", {MINIDRIVER_COMMAND}, ""},
        {"no byte", "{01 3G} {0E} {20}", {}, "Invalid BYTES TO SEND:01 3G"},
        {"nothing to send", "{} {0E} {20}", {}, "Invalid BYTES TO SEND:"},
        {"above a byte", "{100} {0E} {20}", {}, "Invalid BYTES TO SEND:100"},
        {"too much to send",
         Message(RepeatedHex("55", 129)),
         {},
         "Invalid BYTES TO SEND:" + RepeatedHex("55", 129)},
        {"nothing expected", "{01} { } {20}", {}, "Invalid BYTES EXPECTED BACK: "},
        {"no time", "{01} {0E} {soon}", {}, "Invalid MAX TIME TO WAIT:soon"},
        {"time 0", "{01} {0E} {0}", {}, "Invalid MAX TIME TO WAIT:0"},
        {"the first error ends it",
         "{01 03 0C 00} {0E} {20} {02} {0E} {} {01 03 0C 00} {0E} {20}",
         {"01 03 0C 00"},
         "Invalid MAX TIME TO WAIT:"},
        {"another answer",
         "{01 03 0C 00} {0F} {8}",
         {"01 03 0C 00"},
         "SendCommandAndWaitForCompletion call failed"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.m_szName);
        CDownloadSetup setup(WithMessages(c.m_strMessages));
        const std::string expected = c.m_strError.empty() ? "" : TEXT + c.m_strError;
        EXPECT_EQ(setup.Downloader().PrepareForDownload(), expected);
        EXPECT_EQ(setup.Error(), expected);
        EXPECT_EQ(setup.Chip().m_Sent, c.m_Sent);
    }
}

TEST(VintorPreparations, AMessageOf128BytesFits) {
    CDownloadSetup setup(WithMessages(Message(RepeatedHex("55", 128))));
    setup.Chip().m_Faults = {{"55", {"0E"}, ""}};
    EXPECT_EQ(setup.Downloader().PrepareForDownload(), "");
    EXPECT_EQ(setup.Chip().m_Sent.front(), RepeatedHex("55", 128));
}

TEST(VintorPreparations, ReportTheTransportsTexts) {
    CDownloadSetup message(WithMessages("{01 03 0C 00} {0E} {20}"));
    message.Chip().m_Faults = {{"01 03", {}, "port is gone"}};
    EXPECT_EQ(message.Downloader().PrepareForDownload(),
              std::string(TEXT) + "SendCommandAndWaitForCompletion call failedport is gone");

    CDownloadSetup silent(WithMessages(""));
    silent.Chip().m_Faults = {{MINIDRIVER_COMMAND, {}, ""}};
    EXPECT_EQ(silent.Downloader().PrepareForDownload(), " VintorDownloadMinidriver failed!");

    CDownloadSetup gone(WithMessages(""));
    gone.Chip().m_Faults = {{MINIDRIVER_COMMAND, {}, "port is gone"}};
    EXPECT_EQ(gone.Downloader().PrepareForDownload(),
              "port is gone VintorDownloadMinidriver failed!");
}

TEST(VintorPreparations, AreLoggedUnlessThereIsNothingToDo) {
    CDownloadRequest request = WithMessages("{01 03 0C 00} {0E} {20}");
    request.m_bLog = true;
    CDownloadSetup setup(request);
    ASSERT_EQ(setup.Downloader().PrepareForDownload(), "");
    EXPECT_THAT(setup.LogText(), HasSubstr("  Sending custom preload message bytes01 03 0C 00\n"));
    EXPECT_THAT(setup.LogText(), HasSubstr("  About to execute DownloadMinidriver command\n"));

    request.m_pfnOverride = [](auto& info) { info.SetFlagIssueDownloadMinidriverCommand(false); };
    CDownloadSetup without(request);
    ASSERT_EQ(without.Downloader().PrepareForDownload(), "");
    EXPECT_THAT(without.Chip().m_Sent, ElementsAre("01 03 0C 00"));
    EXPECT_THAT(without.LogText(), testing::Not(HasSubstr("DownloadMinidriver")));
}

TEST(VintorPreparations, BelongToVintorModeOnly) {
    CDownloadRequest request = WithMessages("{01 03 0C 00} {0E} {20}");
    request.m_bVintorMode = false;
    CDownloadSetup setup(request);
    EXPECT_EQ(setup.Downloader().PrepareForDownload(), "");
    EXPECT_EQ(setup.Downloader().VintorDownloadFinalPreparations(),
              "CChipDownloader::PrepareForVintorDownload ERROR: NOT VINTOR MODE");
    EXPECT_THAT(setup.Chip().m_Sent, testing::IsEmpty());
}

TEST(VintorPreparations, TakesThreeBraceGroupsInARow) {
    const struct {
        const char* m_szText;
        std::vector<std::string> m_Groups;
        const char* m_szRest;  // null = not three groups
    } cases[] = {
        {"{a}{b}{c}", {"a", "b", "c"}, ""},
        {"x{ a }y{}z{c}{d}", {" a ", "", "c"}, "{d}"},
        // A group ends at the first closing brace, whatever it opens.
        {"{a{b}{c}{d}", {"a{b", "c", "d"}, ""},
        {"}{a}}{b}}{c}}", {"a", "b", "c"}, "}"},
        {"{a}{b}{c", {}, nullptr},
        {"{a}{b}", {}, nullptr},
        {"", {}, nullptr},
        {nullptr, {}, nullptr},
    };
    for (const auto& c : cases) {
        std::string groups[3] = {"old", "old", "old"};
        const char* const rest = CChipDownloader::ExtractNextByteSequenceToSend(
            c.m_szText, &groups[0], &groups[1], &groups[2]);
        ASSERT_EQ(rest == nullptr, c.m_szRest == nullptr) << c.m_szText;
        if (rest != nullptr) {
            EXPECT_STREQ(rest, c.m_szRest);
            EXPECT_THAT(groups, testing::ElementsAreArray(c.m_Groups));
        } else {
            EXPECT_NE(groups[2], "old");
        }
    }
}

}  // namespace
