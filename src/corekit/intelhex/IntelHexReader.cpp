#include "corekit/intelhex/IntelHexReader.h"

#include <algorithm>

#include "util/Wrap32.h"

namespace {

constexpr int LINES_TO_TRY = 6;
static_assert(LINES_TO_TRY < CHexTextSource::LINES_KEPT);

}  // namespace

CIntelHexReader::CIntelHexReader() {
    AddAllowedText("$", 1);
}

std::string CIntelHexReader::OpenDataFile(const char* name) {
    if (m_Source.IsOpen()) {
        return "Already open!";
    }
    m_OwnFile = OpenFileForReading(name);
    return OpenDataFile(m_OwnFile.get(), name);
}

std::string CIntelHexReader::OpenDataFile(std::FILE* file, const char* name) {
    if (m_Source.IsOpen()) {
        return "Already open!";
    }
    if (file == nullptr) {
        return std::string("Could not open file ") + (name == nullptr ? "" : name);
    }
    m_Source.Open(file);
    ResetPosition();
    std::string error = TryFirstLines();
    if (!error.empty()) {
        CloseDataFile();
        return error;
    }
    m_Source.Rewind();
    ResetPosition();
    return "";
}

void CIntelHexReader::CloseDataFile() {
    m_Source.Close();
    m_OwnFile.reset();
}

void CIntelHexReader::ResetPosition() {
    m_nBaseAddress = 0;
    m_nLineNumber = 0;
    m_nDataRecords = 0;
    m_nLargestRecord = 0;
    m_StartAddress.reset();
}

std::string CIntelHexReader::TryFirstLines() {
    unsigned int address = 0;
    std::vector<unsigned char> data;
    std::string error;
    for (int call = 1; data.empty(); ++call) {
        // The seventh call is refused whatever it delivers: a real image starts earlier.
        if (!GetMoreInput(&address, data, &error) || call > LINES_TO_TRY) {
            return "Invalid file format: " + error;
        }
    }
    return "";
}

bool CIntelHexReader::GetMoreInput(unsigned int* address, std::vector<unsigned char>& data,
                                   std::string* error) {
    data.resize(HEX_MAX_DATA_SIZE);
    unsigned int count = 0;
    const bool more = GetMoreData(address, data.data(), 0, &count, error);
    data.resize(count);
    return more;
}

bool CIntelHexReader::GetMoreData(unsigned int* address, unsigned char* bytes, unsigned int room,
                                  unsigned int* count, std::string* error) {
    error->clear();
    *count = 0;
    if (!m_Source.IsOpen()) {
        return false;
    }
    if (ReadFast(address, bytes, room, count)) {
        return true;
    }
    std::vector<unsigned char> data;
    const bool more = ReadByFullRules(address, data, error);
    // Two digits name 255 bytes at most. A larger count, made by a sign, fits on no line and has
    // been refused.
    *count = static_cast<unsigned int>(std::min<std::size_t>(data.size(), HEX_MAX_DATA_SIZE));
    std::copy_n(data.begin(), *count, bytes);
    return more;
}

// Nearly every line of an image is in the standard form; only the others take the full rules. Where
// the fast decoder takes a record, the result is the same.
bool CIntelHexReader::ReadFast(unsigned int* address, unsigned char* bytes, unsigned int room,
                               unsigned int* count) {
    if (MayRecordsBeSkipped()) {
        return false;
    }
    const char* text = m_Source.GetText();
    const std::size_t available = m_Source.GetTextSize();
    FastHexRecord record;
    if (!DecodeRecordFast(text, available, record, bytes)) {
        return false;
    }
    TakeRecord(record.type, record.address, {bytes, record.count}, address);
    m_Source.Skip(record.textSize);
    ++m_nLineNumber;
    if (record.type != INTEL_HEX_DATA) {
        return true;
    }
    *count = record.count;
    if (record.count != 0 && room > record.count) {
        const unsigned int more = DecodeFollowingRecordsFast(
            text, available, record, room / record.count - 1, bytes + record.count);
        if (more != 0) {
            m_Source.Skip(more * record.textSize);
            m_nLineNumber += more;
            m_nDataRecords += more;
            *count += more * record.count;
        }
    }
    return true;
}

bool CIntelHexReader::ReadByFullRules(unsigned int* address, std::vector<unsigned char>& data,
                                      std::string* error) {
    std::string line;
    if (!m_Source.ReadLine(line, error)) {
        CloseDataFile();
        return false;
    }
    ++m_nLineNumber;
    std::string text;
    bool skip = false;
    if (!ValidateIntelHexLine(line.c_str(), static_cast<int>(m_nLineNumber), false, &text, &skip)) {
        CloseDataFile();
        *error = "Invalid intel hex data format: " + text;
        return false;
    }
    if (line == ":00000001FF") {
        CloseDataFile();
        return false;
    }
    if (skip) {
        return true;
    }
    unsigned short recordType = 0;
    ProcessInputLine(line.c_str(), address, data, &recordType);
    // An end record in another spelling ends the reading but leaves the file open.
    return recordType != INTEL_HEX_END_OF_FILE;
}

void CIntelHexReader::ProcessInputLine(const char* line, unsigned int* address,
                                       std::vector<unsigned char>& data,
                                       unsigned short* recordType) {
    data.clear();
    *address = 0;
    RecordFields fields;
    ExtractHexField(line, 1, 2, &fields.count);
    ExtractHexField(line, 3, 4, &fields.address);
    ExtractHexField(line, 7, 2, &fields.type);
    *recordType = fields.type;
    if (fields.type == INTEL_HEX_END_OF_FILE) {
        return;
    }
    ReadDataFields(line, fields);
    for (const unsigned short value : fields.data) {
        data.push_back(static_cast<unsigned char>(value));
    }
    TakeRecord(fields.type, fields.address, data, address);
    if (fields.type != INTEL_HEX_DATA) {
        data.clear();
    }
}

void CIntelHexReader::TakeRecord(unsigned int type, unsigned int loadAddress,
                                 std::span<const unsigned char> data, unsigned int* address) {
    *address = 0;
    // Missing bytes of an address record count as zero.
    const auto byteAt = [data](std::size_t i) -> unsigned int {
        return i < data.size() ? data[i] : 0;
    };
    switch (type) {
        case INTEL_HEX_DATA:
            *address = WrappingAdd(m_nBaseAddress, loadAddress);
            ++m_nDataRecords;
            m_nLargestRecord = std::max(m_nLargestRecord, static_cast<unsigned int>(data.size()));
            break;
        case INTEL_HEX_EXTENDED_LINEAR_ADDRESS:
            m_nBaseAddress = byteAt(0) << 24 | byteAt(1) << 16;
            break;
        case INTEL_HEX_EXTENDED_SEGMENT_ADDRESS:
            m_nBaseAddress = byteAt(0) << 12 | byteAt(1) << 4;
            break;
        case INTEL_HEX_START_LINEAR_ADDRESS:
            // Other tools take this record for the entry point only, but images for these chips
            // count the data records that follow from it.
            m_nBaseAddress = byteAt(0) << 24 | byteAt(1) << 16 | byteAt(2) << 8 | byteAt(3);
            m_StartAddress = m_nBaseAddress;
            break;
        default:
            break;
    }
}
