#include "corekit/intelhex/IntelHexReader.h"

#include <cerrno>
#include <cstring>

#include "util/Wrap32.h"

namespace {

constexpr int LINE_BUFFER_SIZE = 550;
constexpr int LINES_TO_TRY = 6;
constexpr std::string_view WHITE_SPACE = " \t\n\v\f\r";

}  // namespace

CIntelHexReader::CIntelHexReader() {
    AddAllowedText("$", 1);
}

std::string CIntelHexReader::OpenDataFile(const char* name) {
    if (m_pFile)
        return "Already open!";
    if (name == nullptr)
        name = "";
    m_pFile.reset(std::fopen(name, "rt"));
    if (!m_pFile)
        return std::string("Could not open file ") + name;
    ResetPosition();
    std::string error = TryFirstLines();
    if (error.empty() && std::fseek(m_pFile.get(), 0, SEEK_SET) != 0) {
        error = std::string("Could not rewind file ") + name;
    }
    if (!error.empty()) {
        CloseDataFile();
        return error;
    }
    ResetPosition();
    return "";
}

void CIntelHexReader::CloseDataFile() {
    m_pFile.reset();
}

void CIntelHexReader::ResetPosition() {
    m_nAddressMode = EXTENDED_LINEAR;
    m_nUpperAddress = 0;
    m_nStartLinearAddress = 0;
    m_nLineNumber = 0;
}

std::string CIntelHexReader::TryFirstLines() {
    unsigned int address = 0;
    std::vector<unsigned char> data;
    std::string error;
    for (int call = 1; data.empty(); ++call) {
        // The seventh call is refused whatever it delivers: a real image starts earlier. Kept so.
        if (!GetMoreInput(&address, data, &error) || call > LINES_TO_TRY) {
            return "Invalid file format: " + error;
        }
    }
    return "";
}

bool CIntelHexReader::GetMoreInput(unsigned int* address, std::vector<unsigned char>& data,
                                   std::string* error) {
    error->clear();
    data.clear();
    if (!m_pFile)
        return false;
    std::string line;
    if (!ReadLine(line, error)) {
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
    if (skip)
        return true;
    unsigned short recordType = 0;
    ProcessInputLine(line.c_str(), address, data, &recordType);
    // An end record in any other spelling ends the reading but leaves the file open: kept so.
    return recordType != INTEL_HEX_END_OF_FILE;
}

bool CIntelHexReader::ReadLine(std::string& line, std::string* error) {
    char buffer[LINE_BUFFER_SIZE];
    errno = 0;
    if (std::fgets(buffer, LINE_BUFFER_SIZE, m_pFile.get()) == nullptr) {
        if (std::ferror(m_pFile.get()) != 0) {
            *error = std::string("Failed to read intel hex data: ") + std::strerror(errno);
        }
        return false;
    }
    line = buffer;
    while (!line.empty() && WHITE_SPACE.find(line.back()) != std::string_view::npos) {
        line.pop_back();
    }
    return true;
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
    if (fields.type == INTEL_HEX_END_OF_FILE)
        return;
    ReadDataFields(line, fields);

    // An address record may hold fewer bytes than it needs: the missing ones count as zero.
    const auto byteAt = [&fields](size_t i) {
        return i < fields.data.size() ? fields.data[i] & 0xFFU : 0U;
    };
    switch (fields.type) {
        case INTEL_HEX_EXTENDED_LINEAR_ADDRESS:
        case INTEL_HEX_EXTENDED_SEGMENT_ADDRESS:
            m_nUpperAddress = byteAt(0) << 8 | byteAt(1);
            m_nAddressMode = fields.type == INTEL_HEX_EXTENDED_LINEAR_ADDRESS ? EXTENDED_LINEAR
                                                                              : EXTENDED_SEGMENT;
            break;
        case INTEL_HEX_START_LINEAR_ADDRESS:
            // The data records that follow count from here: other tools take this record for the
            // entry point only, but images for these chips rely on it.
            m_nStartLinearAddress = byteAt(0) << 24 | byteAt(1) << 16 | byteAt(2) << 8 | byteAt(3);
            m_nAddressMode = START_LINEAR;
            break;
        case INTEL_HEX_DATA:
            *address = WrappingAdd(GetBaseAddress(), fields.address);
            for (const unsigned short value : fields.data) {
                data.push_back(static_cast<unsigned char>(value));
            }
            break;
        default:
            break;
    }
}

unsigned int CIntelHexReader::GetBaseAddress() const {
    switch (m_nAddressMode) {
        case EXTENDED_SEGMENT:
            return m_nUpperAddress << 4;
        case START_LINEAR:
            return m_nStartLinearAddress;
        default:
            return m_nUpperAddress << 16;
    }
}
