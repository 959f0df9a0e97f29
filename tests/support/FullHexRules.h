#pragma once

#include <string>
#include <vector>

#include "corekit/intelhex/IntelHexReader.h"
#include "util/FileHandle.h"

// What the rules for Intel HEX files make of a file, word by word and without any haste: fgets,
// ValidateIntelHexLine, ProcessInputLine. The fast way is held against it.
class CFullHexRules {
public:
    struct Data {
        unsigned int address;
        std::vector<unsigned char> bytes;
        bool operator==(const Data&) const = default;
    };

    explicit CFullHexRules(const char* fileName) : m_pFile(std::fopen(fileName, "rt")) {
        if (!TryFirstLines()) {
            return;
        }
        std::rewind(m_pFile.get());
        m_Reader = CIntelHexReader();
        m_nLine = 0;
        for (Data data; GetMore(data);) {
            if (!data.bytes.empty()) {
                m_Data.push_back(data);
            }
        }
    }

    const std::vector<Data>& GetData() const { return m_Data; }
    const std::string& GetError() const { return m_strError; }

private:
    bool TryFirstLines() {
        for (int call = 1; call <= 7; ++call) {
            Data data;
            const bool more = GetMore(data);
            if (more && call < 7 && !data.bytes.empty()) {
                return true;
            }
            if (!more) {
                break;
            }
        }
        m_strError = "Invalid file format: " + m_strError;
        return false;
    }

    bool GetMore(Data& data) {
        char buffer[550];
        if (std::fgets(buffer, sizeof buffer, m_pFile.get()) == nullptr) {
            return false;
        }
        std::string line = buffer;
        while (!line.empty() && std::string(" \t\n\v\f\r").find(line.back()) != std::string::npos) {
            line.pop_back();
        }
        std::string text;
        bool skip = false;
        data.bytes.clear();
        if (!m_Reader.ValidateIntelHexLine(line.c_str(), ++m_nLine, false, &text, &skip)) {
            m_strError = "Invalid intel hex data format: " + text;
            return false;
        }
        if (skip) {
            return true;
        }
        unsigned short type = 0;
        m_Reader.ProcessInputLine(line.c_str(), &data.address, data.bytes, &type);
        return type != 1;
    }

    CFileHandle m_pFile;
    CIntelHexReader m_Reader;
    int m_nLine = 0;
    std::vector<Data> m_Data;
    std::string m_strError;
};
