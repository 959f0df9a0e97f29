#include "image/NcdFindings.h"

#include "image/BinaryScan.h"
#include "image/NcdFile.h"
#include "util/FormatText.h"

namespace {

using enum FindingSeverity;

constexpr std::uint64_t OFFSET_OF_COUNT = 7;
constexpr unsigned char HIGHEST_RECORD_TYPE = 6;

class CNcdScan : private CBinaryScan {
public:
    using CBinaryScan::CBinaryScan;

    std::vector<CFinding> Run() {
        std::string error = ReadNCDFileHead(m_pFile, m_strName.c_str(), &m_nPatchSets);
        if (!error.empty()) {
            Add(ERROR, std::nullopt, error, "The loader refuses the file");
            return std::move(m_Findings);
        }
        unsigned int size = 0;
        unsigned char record[NCD_MAX_RECORD_SIZE];
        bool endsPatchSet = false;
        while (MarkPosition() &&
               ReadNextNCDRecord(m_pFile, false, &size, record, &endsPatchSet, &error)) {
            Take(record[4], endsPatchSet);
        }
        AddEnd(error);
        if (error.empty()) {
            AddPatchSets();
        }
        return std::move(m_Findings);
    }

private:
    void Take(unsigned char type, bool endsPatchSet) {
        m_nSignatures += endsPatchSet ? 1 : 0;
        m_bUnsigned = !endsPatchSet;
        if (type > HIGHEST_RECORD_TYPE) {
            Add(WARNING, m_nPosition, FormatText("A record of the unknown type %u", type),
                "It is sent as a patch record");
        }
    }

    void AddPatchSets() {
        if (m_nSignatures == 0) {
            Add(ERROR, std::nullopt, "No signature records found!", "The loader refuses the file");
            return;
        }
        if (m_nSignatures != m_nPatchSets) {
            Add(ERROR, OFFSET_OF_COUNT,
                FormatText("The file names %u patch sets and holds %u", m_nPatchSets,
                           m_nSignatures),
                "It was cut short or put together wrongly");
        }
        if (m_bUnsigned) {
            Add(WARNING, std::nullopt, "Records follow after the last signature",
                "They are sent, but no signature confirms them");
        }
    }

    unsigned int m_nPatchSets = 0;  // as the head of the file says
    unsigned int m_nSignatures = 0;
    bool m_bUnsigned = false;  // a record since the last signature
};

}  // namespace

std::vector<CFinding> FindInNcdFile(std::FILE* file, const std::string& name) {
    return CNcdScan(file, name).Run();
}
