#include "os/Terminal.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "support/TestTerminal.h"

namespace {

struct COpenTerminal : CTestTerminal {
    COpenTerminal() : m_pStream(fdopen(dup(Slave()), "w")) {}
    ~COpenTerminal() { std::fclose(m_pStream); }

    std::FILE* m_pStream;
};

TEST(Terminal, ShowsNoBytesThatAreForItself) {
    const COpenTerminal terminal;
    const std::pair<const char*, const char*> cases[] = {
        {"\tplain text\n ~", "\tplain text\n ~"},
        {"\x1B]0;title\x07\r\x7F\b", "\\x1B]0;title\\x07\\x0D\\x7F\\x08"},
        {"\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80", "\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80"},
        // Control characters in one byte, in two, and in longer forms than they need.
        {"\x9B!", "\\x9B!"},
        {"\xC2\x9B!", "\\xC2\\x9B!"},
        {"\xE0\x80\x9B\xF0\x80\x80\x9B", "\\xE0\\x80\\x9B\\xF0\\x80\\x80\\x9B"},
        {"\xE2\x82z\xC3", "\\xE2\\x82z\\xC3"},
    };
    for (const auto& [text, shown] : cases) {
        EXPECT_EQ(CTerminal(terminal.m_pStream).Shown(text), shown);
        std::FILE* const file = std::tmpfile();
        EXPECT_EQ(CTerminal(file).Shown(text), text);
        std::fclose(file);
    }
}

TEST(Terminal, ShowsAStatusLineWhereItIsWanted) {
    const COpenTerminal terminal;
    const struct {
        const char* m_szTerm;
        const char* m_szNoColor;
        const char* m_szWish;
        bool m_bShows;
    } cases[] = {
        {"xterm", "", "", true},       {"xterm", "", "auto", true}, {"", "", "", false},
        {"dumb", "", "auto", false},   {"xterm", "1", "", false},   {"xterm", "", "never", false},
        {"dumb", "1", "always", true}, {"", "", "always", true},
    };
    std::FILE* const file = std::tmpfile();
    for (const auto& c : cases) {
        setenv("TERM", c.m_szTerm, 1);
        setenv("NO_COLOR", c.m_szNoColor, 1);
        setenv("HCILOAD_PROGRESS", c.m_szWish, 1);
        EXPECT_EQ(CTerminal(terminal.m_pStream).ShowsStatusLine(), c.m_bShows)
            << c.m_szTerm << c.m_szNoColor << c.m_szWish;
        EXPECT_FALSE(CTerminal(file).ShowsStatusLine());
    }
    std::fclose(file);
    for (const char* name : {"TERM", "NO_COLOR", "HCILOAD_PROGRESS"}) {
        unsetenv(name);
    }
}

}  // namespace
