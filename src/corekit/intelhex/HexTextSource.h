#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>

// Reads the text of an Intel HEX file in large blocks. Its lines are those of fgets with a buffer
// of LINE_BUFFER_SIZE characters: longer ones come in pieces, the last needs no line feed, and a
// NUL ends the visible part of a line.
class CHexTextSource {
public:
    static constexpr std::size_t LINE_BUFFER_SIZE = 550;

    // Reads a file from where it stands. The caller keeps it open until Close.
    void Open(std::FILE* file);
    bool IsOpen() const { return m_pFile != nullptr; }
    void Close();

    // Back to the start of the file, which may be a pipe. Only before LINES_KEPT lines are read.
    static constexpr std::size_t LINES_KEPT = 100;
    void Rewind() { m_nNext = 0; }

    // The unread text: at least one whole line or line piece, unless the file ends before.
    const char* GetText() {
        if (GetTextSize() < LINE_BUFFER_SIZE) {
            Fill();
        }
        return m_pBlock.get() + m_nNext;
    }
    std::size_t GetTextSize() const { return m_nEnd - m_nNext; }  // after GetText
    void Skip(std::size_t size) { m_nNext += size; }

    // The next line without trailing white space. False at the end of the file, and when reading
    // fails; then *error tells why.
    bool ReadLine(std::string& line, std::string* error);

private:
    static constexpr std::size_t BLOCK_SIZE = std::size_t{64} * 1024;
    static_assert(LINES_KEPT * LINE_BUFFER_SIZE < BLOCK_SIZE - LINE_BUFFER_SIZE);

    void Fill();

    std::FILE* m_pFile = nullptr;
    std::unique_ptr<char[]> m_pBlock;
    std::size_t m_nNext = 0;  // the first unread character of the block
    std::size_t m_nEnd = 0;
    int m_nReadError = 0;  // errno
};
