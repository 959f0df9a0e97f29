#pragma once

#include <string>
#include <vector>

#include "corekit/intelhex/IntelHexReader.h"
#include "image/ChipImageByteData.h"
#include "util/FileHandle.h"
#include "util/FormatText.h"
#include "util/Wrap32.h"

// Reads Intel HEX files by their rules, each line on its own and without any haste: fgets,
// ValidateIntelHexLine, ProcessInputLine. The fast reader is compared with it.
class CFullHexRules {
public:
    explicit CFullHexRules(const char* fileName) : m_pFile(std::fopen(fileName, "rt")) {}

    const std::string& GetError() const { return m_strError; }

    // One line. False at the end and at an error.
    bool GetMore(unsigned int* address, std::vector<unsigned char>& bytes) {
        bytes.clear();
        char buffer[550];
        if (std::fgets(buffer, sizeof buffer, m_pFile.get()) == nullptr) {
            return false;
        }
        std::string line = buffer;
        const std::size_t last = line.find_last_not_of(" \t\n\v\f\r");
        line.resize(last == std::string::npos ? 0 : last + 1);
        std::string fault;
        bool skip = false;
        if (!m_Rules.ValidateIntelHexLine(line.c_str(), ++m_nLine, false, &fault, &skip)) {
            m_strError = "Invalid intel hex data format: " + fault;
            return false;
        }
        unsigned short type = 0;
        if (!skip) {
            m_Rules.ProcessInputLine(line.c_str(), address, bytes, &type);
        }
        return type != INTEL_HEX_END_OF_FILE;
    }

private:
    CFileHandle m_pFile;
    CIntelHexReader m_Rules;
    int m_nLine = 0;
    std::string m_strError;
};

// Adds a file's runs to the image until the first error, which it returns.
inline std::string LoadByFullRules(const char* fileName, bool allowOverlap,
                                   CChipImageByteData& image) {
    unsigned int address = 0;
    std::vector<unsigned char> bytes;
    CFullHexRules trial(fileName);
    for (int call = 1; bytes.empty(); ++call) {
        if (!trial.GetMore(&address, bytes) || call > 6) {
            return "Invalid file format: " + trial.GetError();
        }
    }
    const unsigned int first = address;
    unsigned int start = 0;
    std::vector<unsigned char> run;
    std::string error;
    const auto closeRun = [&] {
        unsigned int where = 0;
        const auto size = static_cast<unsigned int>(run.size());
        if (size > 0 && !allowOverlap && image.Overlaps(start, size, &where)) {
            error = FormatText("Data overlap at address 0x%08X", where);
        } else if (size > 0) {
            CByteBuffer range(run.data(), size, BYTE_BUFFER_OWNED);
            range.SetBaseAddress(start);
            image.AddRange(range);
        }
        run.clear();
    };
    CFullHexRules rules(fileName);
    while (error.empty() && rules.GetMore(&address, bytes)) {
        const bool continues = address == WrappingAdd(start, static_cast<unsigned int>(run.size()));
        if (!bytes.empty() && (run.empty() || !continues)) {
            closeRun();
            start = address;
        }
        run.insert(run.end(), bytes.begin(), bytes.end());
    }
    if (error.empty() && rules.GetError().empty()) {
        closeRun();
    }
    image.SetFirstAddressLoaded(first);
    return error.empty() ? rules.GetError() : error;
}
