#include "corekit/intelhex/IntelHexBasics.h"

#include <cstdio>
#include <numeric>

#include "os/Terminal.h"

namespace {

constexpr char DATA_VALUE_FAULT[] = "ValidateIntelHexLine: Failed to parse data value: ";
constexpr char CHECKSUM_FAULT[] = "ValidateIntelHexLine: Checksum mismatch on line: ";

constexpr size_t SHORTEST_RECORD = 11;
constexpr size_t DATA_POSITION = 9;

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
    const unsigned int head = count + type + (address >> 8) + (address & 0xFFU);
    const unsigned int sum = std::accumulate(data, data + count, head);
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
    const char* const fault = CheckRecord(line, fields);
    if (fault == nullptr) {
        return true;
    }
    *error = std::string(fault) + line;
    if (print && fault == DATA_VALUE_FAULT) {
        std::fprintf(stderr, "ValidateIntelHexLine: Failed to parse data value [%0d]: %s\n",
                     static_cast<int>(fields.data.size()), CTerminal(stderr).Shown(line).c_str());
    } else if (print) {
        std::fprintf(stderr, "%s\n", CTerminal(stderr).Shown(*error).c_str());
    }
    if (print && fault == CHECKSUM_FAULT) {
        std::fprintf(stderr, "                      Computed %2X   Parsed %2X\n",
                     ComputeChecksum(fields.count, fields.address, fields.type, fields.data.data()),
                     fields.checksum);
    }
    return false;
}

const char* CIntelHexBasics::CheckRecord(std::string_view line, RecordFields& fields) {
    if (line.size() < SHORTEST_RECORD) {
        return "ValidateIntelHexLine: Line too short: ";
    }
    if (line[0] != ':') {
        return "ValidateIntelHexLine: Unexpected starting character: ";
    }
    if (!ScanHexField(line, 1, 2, &fields.count)) {
        return "ValidateIntelHexLine: Failed to parse #data bytes: ";
    }
    if (!ScanHexField(line, 3, 4, &fields.address)) {
        return "ValidateIntelHexLine: Failed to parse loading address: ";
    }
    if (!ScanHexField(line, 7, 2, &fields.type)) {
        return "ValidateIntelHexLine: Failed to parse record type: ";
    }
    if (!IsKnownHexRecordType(fields.type)) {
        return "ValidateIntelHexLine: Unrecognized record type: ";
    }
    if (!ReadDataFields(line, fields)) {
        return DATA_VALUE_FAULT;
    }
    const size_t end = DATA_POSITION + size_t{2} * fields.count;
    if (!ScanHexField(line, end, 2, &fields.checksum)) {
        return "ValidateIntelHexLine: Failed to parse checksum: ";
    }
    const unsigned short computed =
        ComputeChecksum(fields.count, fields.address, fields.type, fields.data.data());
    return fields.checksum == computed ? nullptr : CHECKSUM_FAULT;
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
