#pragma once

#include <cstdio>
#include <string>
#include <string_view>

// Decides what the terminal on a stream may show. Of a stream that is no terminal it changes
// nothing: pipes and files get each byte as it is, and no status line.
class CTerminal {
public:
    explicit CTerminal(std::FILE* stream);

    bool IsTerminal() const { return m_bIsTerminal; }

    // Whether the device of that name is this very terminal.
    bool IsDevice(const std::string& path) const;

    // The text for this stream. On a terminal, bytes that would move the cursor, set a title or the
    // like become "\x1B" and so on; line feed, tab and UTF-8 stay.
    std::string Shown(std::string_view text) const;

    // As HCILOAD_PROGRESS says: "never"; "always", on any terminal; otherwise only if TERM names
    // one that can do more than print, and NO_COLOR, the wish for plain output, is not set.
    bool ShowsStatusLine() const;

    // Columns, 80 if the terminal does not tell.
    unsigned int Width() const;

    // Shows a text, shorter than the width, in place of the status line so far. Erase it before you
    // print anything else.
    void DrawStatusLine(std::string_view text) const;

    // Does nothing without one. For any thread, and async-signal-safe.
    static void EraseStatusLine();

private:
    int m_nDescriptor;
    bool m_bIsTerminal;
};
