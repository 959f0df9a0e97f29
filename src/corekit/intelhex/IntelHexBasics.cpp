#include "corekit/intelhex/IntelHexBasics.h"

#include <array>
#include <cstdio>

enum class CIntelHexBasics::RecordFault : unsigned char {
    TooShort,
    StartingCharacter,
    ByteCount,
    LoadAddress,
    RecordType,
    UnknownType,
    DataValue,
    Checksum,
    ChecksumMismatch,
    None,
};

namespace {

// In the order of the faults.
constexpr std::array FAULT_TEXTS = {
    "ValidateIntelHexLine: Line too short: ",
    "ValidateIntelHexLine: Unexpected starting character: ",
    "ValidateIntelHexLine: Failed to parse #data bytes: ",
    "ValidateIntelHexLine: Failed to parse loading address: ",
    "ValidateIntelHexLine: Failed to parse record type: ",
    "ValidateIntelHexLine: Unrecognized record type: ",
    "ValidateIntelHexLine: Failed to parse data value: ",
    "ValidateIntelHexLine: Failed to parse checksum: ",
    "ValidateIntelHexLine: Checksum mismatch on line: ",
};

constexpr size_t SHORTEST_RECORD = 11;
constexpr size_t DATA_POSITION = 9;

bool IsKnownRecordType(unsigned short type) {
    switch (type) {
        case INTEL_HEX_DATA:
        case INTEL_HEX_END_OF_FILE:
        case INTEL_HEX_EXTENDED_SEGMENT_ADDRESS:
        case INTEL_HEX_EXTENDED_LINEAR_ADDRESS:
        case INTEL_HEX_START_LINEAR_ADDRESS:
            return true;
        default:
            return false;
    }
}

// The conversion is left to the C library, so that every oddity it accepts is exactly its own.
bool ScanHexField(std::string_view line, size_t start, size_t length, unsigned short* value) {
    if (start >= line.size()) {
        return false;
    }
    return std::sscanf(std::string(line.substr(start, length)).c_str(), "%hX", value) == 1;
}

}  // namespace

void CIntelHexBasics::AddAllowedText(const char* text, int lineNumber) {
    m_AllowedLines.emplace_back(text, lineNumber);
    if (*text == ':') {
        m_bRecordTextAllowed = true;
    }
}

bool CIntelHexBasics::IsLineToSkip(const char* line, int lineNumber) const {
    for (const CAllowedLineInFile& allowed : m_AllowedLines) {
        const int number = allowed.GetLineNumber();
        if ((number < 0 || number == lineNumber) && allowed.GetText() == line) {
            return true;
        }
    }
    return false;
}

bool CIntelHexBasics::ExtractHexField(const char* line, unsigned short start, unsigned short length,
                                      unsigned short* value) {
    return ScanHexField(line, start, length, value);
}

unsigned short CIntelHexBasics::ComputeChecksum(unsigned short count, unsigned short address,
                                                unsigned short type, const unsigned short* data) {
    unsigned int sum = count + type + (address >> 8) + (address & 0xFFU);
    for (unsigned int i = 0; i < count; ++i) {
        sum += data[i];
    }
    return static_cast<unsigned short>((0x100 - (sum & 0xFF)) & 0xFF);
}

bool CIntelHexBasics::ValidateIntelHexLine(const char* line, int lineNumber, bool print,
                                           std::string* error, bool* skip) const {
    error->clear();
    *skip = IsLineToSkip(line, lineNumber);
    if (*skip) {
        return true;
    }
    RecordFields fields;
    const RecordFault fault = CheckRecord(line, fields);
    if (fault == RecordFault::None) {
        return true;
    }
    *error = std::string(FAULT_TEXTS[static_cast<size_t>(fault)]) + line;
    if (print) {
        PrintFault(fault, line, fields);
    }
    return false;
}

CIntelHexBasics::RecordFault CIntelHexBasics::CheckRecord(std::string_view line,
                                                          RecordFields& fields) {
    if (line.size() < SHORTEST_RECORD) {
        return RecordFault::TooShort;
    }
    if (line[0] != ':') {
        return RecordFault::StartingCharacter;
    }
    if (!ScanHexField(line, 1, 2, &fields.count)) {
        return RecordFault::ByteCount;
    }
    if (!ScanHexField(line, 3, 4, &fields.address)) {
        return RecordFault::LoadAddress;
    }
    if (!ScanHexField(line, 7, 2, &fields.type)) {
        return RecordFault::RecordType;
    }
    if (!IsKnownRecordType(fields.type)) {
        return RecordFault::UnknownType;
    }
    if (!ReadDataFields(line, fields)) {
        return RecordFault::DataValue;
    }
    const size_t end = DATA_POSITION + size_t{2} * fields.count;
    if (!ScanHexField(line, end, 2, &fields.checksum)) {
        return RecordFault::Checksum;
    }
    const unsigned short computed =
        ComputeChecksum(fields.count, fields.address, fields.type, fields.data.data());
    return fields.checksum == computed ? RecordFault::None : RecordFault::ChecksumMismatch;
}

bool CIntelHexBasics::ReadDataFields(std::string_view line, RecordFields& fields) {
    for (size_t i = 0; i < fields.count; ++i) {
        unsigned short value = 0;
        if (!ScanHexField(line, DATA_POSITION + 2 * i, 2, &value)) {
            return false;
        }
        fields.data.push_back(value);
    }
    return true;
}

void CIntelHexBasics::PrintFault(RecordFault fault, const char* line, const RecordFields& fields) {
    if (fault == RecordFault::DataValue) {
        std::fprintf(stderr, "ValidateIntelHexLine: Failed to parse data value [%0d]: %s\n",
                     static_cast<int>(fields.data.size()), line);
        return;
    }
    std::fprintf(stderr, "%s%s\n", FAULT_TEXTS[static_cast<size_t>(fault)], line);
    if (fault == RecordFault::ChecksumMismatch) {
        std::fprintf(stderr, "                      Computed %2X   Parsed %2X\n",
                     ComputeChecksum(fields.count, fields.address, fields.type, fields.data.data()),
                     fields.checksum);
    }
}
