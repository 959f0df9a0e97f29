#pragma once

#include <cstdio>
#include <span>
#include <string>
#include <vector>

#include "corekit/intelhex/HexTextSource.h"
#include "corekit/intelhex/IntelHexBasics.h"
#include "corekit/intelhex/PlainHexRecord.h"
#include "util/FileHandle.h"

// Reads an Intel HEX text file record by record. Open the file, then call GetMoreInput until it
// returns false; an error text tells a bad end from a good one. One thread at a time.
class CIntelHexReader : public CIntelHexBasics {
public:
    // Allows the line "$" in front of the records: some tools write it there.
    CIntelHexReader();

    // Opens the file and tries it: one of its first six lines must deliver data. Returns the error
    // text, empty on success. A reader that has a file open keeps it and refuses.
    std::string OpenDataFile(const char* name);

    // The same with a file that the caller has opened under this name and keeps open while it is
    // read; null stands for one that does not open.
    std::string OpenDataFile(std::FILE* file, const char* name);

    // True while more input may follow: data then holds the bytes of one data record, *address
    // belonging to the first of them, or is empty for a line that carries none. Lines are cut at
    // 549 characters, and each piece is judged as a line.
    bool GetMoreInput(unsigned int* address, std::vector<unsigned char>& data, std::string* error);

    // The same with the data in bytes, and those of several records at once where each continues
    // the one in front and room, in bytes, holds them all. One record is delivered whole whatever
    // room says: bytes needs HEX_MAX_DATA_SIZE of it at least. What lies behind *count is lost. The
    // fastest way to read.
    bool GetMoreData(unsigned int* address, unsigned char* bytes, unsigned int room,
                     unsigned int* count, std::string* error);

    // Takes in one line that has been validated. Of any other line the fields that cannot be read
    // count as zero, and data end at the first byte that cannot be read.
    void ProcessInputLine(const char* line, unsigned int* address, std::vector<unsigned char>& data,
                          unsigned short* recordType);

    void CloseDataFile();

private:
    enum AddressMode : unsigned int {
        EXTENDED_LINEAR = 1,
        EXTENDED_SEGMENT = 2,
        START_LINEAR = 3,
    };

    void ResetPosition();
    std::string TryFirstLines();
    bool ReadPlainRecords(unsigned int* address, unsigned char* bytes, unsigned int room,
                          unsigned int* count);
    bool ReadAnyLine(unsigned int* address, std::vector<unsigned char>& data, std::string* error);
    void TakeRecord(unsigned int type, unsigned int loadAddress,
                    std::span<const unsigned char> data, unsigned int* address);
    unsigned int GetBaseAddress() const;

    unsigned int m_nUpperAddress = 0;
    unsigned int m_nStartLinearAddress = 0;
    unsigned int m_nAddressMode = EXTENDED_LINEAR;
    unsigned int m_nLineNumber = 0;
    CFileHandle m_OwnFile;
    CHexTextSource m_Source;
};
