#pragma once

#include <string>

#include "rules/BaseEncoderDecoder.h"
#include "util/FileHandle.h"

// Reads the lines of a text file that is either plain or scrambled. Not synchronised.
//
// The first 200 bytes decide: a byte below 32 that is not a line feed or carriage return, or one
// above 127, marks the file as scrambled. So does a tab or an accented letter in a plain file; use
// them only after the first 200 bytes.
class CTextFileRawOrEncrypted {
public:
    // decoder must be initialised, must outlive the reader and may serve no other stream meanwhile.
    // Without one (null) every file is plain.
    CTextFileRawOrEncrypted(const char* path, CBaseEncoderDecoder* decoder);

    bool IsValidFile() const { return m_File != nullptr; }

    // True if no file is open or nothing more can be read from it.
    bool IsEOF() const;

    // Back to the start.
    void ResetFile();

    // The next line, with its line feed if it has one; empty at the end. A plain line comes in
    // pieces of at most 499 characters. A scrambled one has any length and loses its carriage
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
    CByteBuffer m_Block;  // the current one, decoded
    unsigned int m_nBlockPosition = 0;
};
