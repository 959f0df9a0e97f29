#pragma once

#include <cstdio>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "corekit/intelhex/FastHexDecoder.h"
#include "corekit/intelhex/HexTextSource.h"
#include "corekit/intelhex/IntelHexBasics.h"
#include "util/FileHandle.h"

// Reads an Intel HEX text file record by record. Open the file, then call GetMoreInput until it
// returns false; an error text tells a bad end from a good one. One thread at a time.
class CIntelHexReader : public CIntelHexBasics {
public:
    // Allows "$" as the first line: some tools write it.
    CIntelHexReader();

    // Opens the file and tries it: one of its first six lines must deliver data. Returns the error
    // text, empty on success. Refused while a file is open.
    std::string OpenDataFile(const char* name);

    // The same with a file that the caller has opened under this name and keeps open while it is
    // read; null stands for one that does not open.
    std::string OpenDataFile(std::FILE* file, const char* name);

    // True while more input may follow: data then holds the bytes of one data record and *address
    // is that of the first, or data is empty for a line without data. Lines are cut at 549
    // characters, and each piece counts as a line.
    bool GetMoreInput(unsigned int* address, std::vector<unsigned char>& data, std::string* error);

    // The fastest way to read: the same, but also takes the following records at once if they
    // continue the address, as long as they fit in room bytes. Always delivers one whole record, so
    // bytes must hold HEX_MAX_DATA_SIZE. May write past *count.
    bool GetMoreData(unsigned int* address, unsigned char* bytes, unsigned int room,
                     unsigned int* count, std::string* error);

    // Processes one line that has been validated. In any other line, unreadable fields count as
    // zero, and data end at the first unreadable byte.
    void ProcessInputLine(const char* line, unsigned int* address, std::vector<unsigned char>& data,
                          unsigned short* recordType);

    void CloseDataFile();

    // What was read so far.
    unsigned int CountLines() const { return m_nLineNumber; }
    unsigned int CountDataRecords() const { return m_nDataRecords; }
    unsigned int GetLargestRecord() const { return m_nLargestRecord; }  // data bytes
    // Of the last start linear address record.
    std::optional<unsigned int> GetStartAddress() const { return m_StartAddress; }

private:
    void ResetPosition();
    std::string TryFirstLines();
    bool ReadFast(unsigned int* address, unsigned char* bytes, unsigned int room,
                  unsigned int* count);
    bool ReadByFullRules(unsigned int* address, std::vector<unsigned char>& data,
                         std::string* error);
    void TakeRecord(unsigned int type, unsigned int loadAddress,
                    std::span<const unsigned char> data, unsigned int* address);

    unsigned int m_nBaseAddress = 0;  // as the last address record set it
    unsigned int m_nLineNumber = 0;
    unsigned int m_nDataRecords = 0;
    unsigned int m_nLargestRecord = 0;
    std::optional<unsigned int> m_StartAddress;
    CFileHandle m_OwnFile;
    CHexTextSource m_Source;
};
