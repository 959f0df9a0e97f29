#pragma once

#include <string>

#include "rules/BaseEncoderDecoder.h"
#include "util/FileHandle.h"

// Delivers the lines of a text file that is either plain or scrambled. Not synchronised.
//
// The first 200 bytes tell the form: any control character below the blank except line feed and
// carriage return, and any byte above 127, marks the file as scrambled. A plain file with a tab or
// an accented letter there is taken for a scrambled one too; keep those further down.
class CTextFileRawOrEncrypted {
public:
    // The decoder, initialised, stays the caller's, outlives the reader and serves no other stream
    // meanwhile. Without one (null) every file is plain.
    CTextFileRawOrEncrypted(const char* path, CBaseEncoderDecoder* decoder);

    bool IsValidFile() const { return m_File != nullptr; }

    // True when no file is open or nothing more can be read from it.
    bool IsEOF() const;

    // Back to the start.
    void ResetFile();

    // The next line, its line feed included when it has one; empty at the end. A plain line comes
    // in pieces of at most 499 characters. A scrambled one has any length and loses its carriage
    // returns; a block that cannot be decoded ends the file.
    std::string ReadNextLine();

private:
    bool LooksScrambled() const;
    bool FillBlock();
    std::string ReadScrambledLine();

    CBaseEncoderDecoder* m_pDecoder;
    CFileHandle m_File;
    bool m_bRaw = true;
    bool m_bFailed = false;
    CByteBuffer m_Block;  // decoded
    unsigned int m_nBlockPosition = 0;
};
