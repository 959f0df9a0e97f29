#include <cstring>

#include "PlainImage.h"
#include "corekit/intelhex/IntelHexReader.h"
#include "support/FullHexRules.h"

// Any text as an Intel HEX file. The loader, fast as it is, has to make of it what the rules say,
// taken word by word.

namespace {

class CPlainLoad {
public:
    explicit CPlainLoad(const char* path) {
        const CFullHexRules rules(path);
        for (const CFullHexRules::Data& data : rules.GetData()) {
            if (m_strError.empty()) {
                TakeRecord(data.address, data.bytes);
            }
        }
        if (m_strError.empty()) {
            m_strError = rules.GetError();
        }
        if (m_strError.empty()) {
            CloseRun();
        }
    }

    std::string m_strError;
    PlainImage m_Ranges;

private:
    void TakeRecord(std::uint32_t address, const std::vector<unsigned char>& bytes) {
        if (address != m_nNextAddress || m_Run.bytes.empty()) {
            CloseRun();
            m_Run.address = address;
        }
        if (!m_strError.empty()) {
            return;
        }
        m_Run.bytes.insert(m_Run.bytes.end(), bytes.begin(), bytes.end());
        m_nNextAddress = static_cast<std::uint32_t>(std::uint64_t{address} + bytes.size());
    }

    void CloseRun() {
        if (m_Run.bytes.empty()) {
            return;
        }
        const auto size = static_cast<std::uint32_t>(m_Run.bytes.size());
        for (const PLAIN_RANGE& range : m_Ranges) {
            const auto rangeSize = static_cast<std::uint32_t>(range.bytes.size());
            if (Low32(std::uint64_t{m_Run.address} + size) > range.address &&
                Low32(std::uint64_t{range.address} + rangeSize - 1) >= m_Run.address) {
                char text[64];
                std::snprintf(text, sizeof text, "Data overlap at address 0x%08X",
                              std::max(m_Run.address, range.address));
                m_strError = text;
                return;
            }
        }
        m_Ranges.push_back(m_Run);
        m_Run.bytes.clear();
    }

    static std::uint32_t Low32(std::uint64_t value) {
        return static_cast<std::uint32_t>(value & 0xFFFFFFFFU);
    }

    PLAIN_RANGE m_Run;
    std::uint32_t m_nNextAddress = 0;
};

void CheckLoad(const char* path) {
    const CPlainLoad plain(path);
    CChipImageByteData image("FIRMWARE", "Firmware code", path);
    const std::string error = image.LoadFromHexFile(path, true, false);
    FUZZ_CHECK(error == plain.m_strError);
    FUZZ_CHECK(RangesOf(image) == plain.m_Ranges);
    CheckAddresses(image);
    if (!error.empty()) {
        return;
    }
    // The same data once more are all overlap, unless that is allowed.
    FUZZ_CHECK(image.LoadFromHexFile(path, false, true).empty());
    FUZZ_CHECK(image.CountContiguousRanges() == 2 * plain.m_Ranges.size());
    FUZZ_CHECK(image.LoadFromHexFile(path, true, false).empty());
    FUZZ_CHECK(RangesOf(image) == plain.m_Ranges);
}

// Lines that no check has seen.
void ReadUncheckedLines(const std::string& text) {
    CIntelHexReader reader;
    std::size_t start = 0;
    while (start < text.size()) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        const std::string line = UpToNul(text.substr(start, end - start));
        start = end + 1;
        std::string error;
        bool skip = false;
        const bool isGood = reader.ValidateIntelHexLine(line.c_str(), 1, false, &error, &skip);
        FUZZ_CHECK(isGood == error.empty());
        unsigned int address = 0;
        std::vector<unsigned char> bytes;
        unsigned short type = 0;
        reader.ProcessInputLine(line.c_str(), &address, bytes, &type);
        FUZZ_CHECK(bytes.size() <= line.size());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static CMemoryFile file;
    CheckLoad(file.Fill(data, size));
    ReadUncheckedLines(std::string(data, data + size));
    return 0;
}
