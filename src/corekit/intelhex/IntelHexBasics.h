#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "corekit/intelhex/AllowedLineInFile.h"

// The record types of the Intel Hexadecimal Object File Format that are read. Type 3, the start
// segment address, is refused: the chips have no segment registers to start from.
enum IntelHexRecordType : unsigned short {
    INTEL_HEX_DATA = 0,
    INTEL_HEX_END_OF_FILE = 1,
    INTEL_HEX_EXTENDED_SEGMENT_ADDRESS = 2,
    INTEL_HEX_EXTENDED_LINEAR_ADDRESS = 4,
    INTEL_HEX_START_LINEAR_ADDRESS = 5,
};

constexpr bool IsKnownHexRecordType(unsigned int type) {
    return type <= INTEL_HEX_START_LINEAR_ADDRESS && type != 3;
}

// Checks one record line:
//
//   0  ":"
//   1  byte count, 2 digits
//   3  load address, 4 digits
//   7  record type, 2 digits
//   9  byte count data bytes of 2 digits each, then the checksum, 2 digits
//
// A line is a C string without its line feed. No pointer may be null. One thread at a time.
class CIntelHexBasics {
public:
    virtual ~CIntelHexBasics() = default;

    void AddAllowedText(const char* text, int lineNumber);
    bool IsLineToSkip(const char* line, int lineNumber) const;

    // Reads length characters from position start as scanf reads "%hX": leading white space, a
    // sign, "0x" and a field that ends early are all accepted. False, with *value left alone, when
    // there is no number or the line ends before start.
    static bool ExtractHexField(const char* line, unsigned short start, unsigned short length,
                                unsigned short* value);

    // 0 to 255: the two's complement of the low byte of the sum of all bytes of the record. data
    // holds count values.
    static unsigned short ComputeChecksum(unsigned short count, unsigned short address,
                                          unsigned short type, const unsigned short* data);

    // Whether the line is acceptable; *skip tells that it is one to pass over. On failure *error is
    // the message and the line; print also shows it on standard error.
    bool ValidateIntelHexLine(const char* line, int lineNumber, bool print, std::string* error,
                              bool* skip) const;

protected:
    // The fields of a line. Values keep the 16 bits that a field such as "-1" yields.
    struct RecordFields {
        unsigned short count = 0;
        unsigned short address = 0;
        unsigned short type = 0;
        std::vector<unsigned short> data;
        unsigned short checksum = 0;
    };

    // Whether a line that looks like a record may be one to skip.
    bool MayRecordsBeSkipped() const { return m_bRecordTextAllowed; }

    // Reads data bytes until count or the first that cannot be read; true when all were there.
    static bool ReadDataFields(std::string_view line, RecordFields& fields);

private:
    // Reads and checks the fields in their order. The text of the first fault, or null.
    static const char* CheckRecord(std::string_view line, RecordFields& fields);

    std::vector<CAllowedLineInFile> m_AllowedLines;
    bool m_bRecordTextAllowed = false;
};
