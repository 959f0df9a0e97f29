#include "image/HexFindings.h"

#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

#include "corekit/intelhex/FastHexDecoder.h"
#include "corekit/intelhex/HexTextSource.h"
#include "corekit/intelhex/IntelHexReader.h"
#include "image/AddressOccupancy.h"
#include "image/ChipImageByteData.h"
#include "util/ForeignFormat.h"
#include "util/FormatText.h"
#include "util/HexText.h"
#include "util/Wrap32.h"

namespace {

constexpr unsigned int LINES_WITH_DATA = 6;  // one of these must hold data
constexpr std::size_t SHORTEST_RECORD = 11;
constexpr std::size_t SHOWN_OF_LINE = 80;

// Lines of the same kind; one finding stands for all of them.
struct CLinesAlike {
    unsigned int m_nFirst = 0;
    unsigned int m_nCount = 0;

    void Add(unsigned int line) {
        m_nFirst = m_nCount == 0 ? line : m_nFirst;
        ++m_nCount;
    }
    std::string AndMore() const {
        return m_nCount > 1 ? FormatText(" (here and in %u more lines)", m_nCount - 1) : "";
    }
};

struct CHexLine {
    unsigned int m_nType = 0;
    unsigned int m_nLoadAddress = 0;
    unsigned int m_nCount = 0;
    unsigned int m_nBase = 0;  // after the record
    std::string m_strText;     // only if it is not in the standard form
};

// Reads the lines as CIntelHexReader does, and looks at what that reader passes over.
class CHexScan {
public:
    CHexScan(std::FILE* file, const std::string& name) : m_pFile(file), m_strName(name) {}

    std::vector<CFinding> Run() {
        m_Source.Open(m_pFile);
        const char* const text = m_Source.GetText();
        const std::string_view start(text, m_Source.GetTextSize());
        if (const auto foreign = FindForeignFormat(start)) {
            Add(FindingSeverity::ERROR, 1, foreign->m_strWhat, foreign->m_strWhatToDo);
            return std::move(m_Findings);
        }
        CHexLine line;
        while (ReadRecord(line)) {
            Take(line);
        }
        CloseStartRecord();
        AddLinesAlike();
        if (m_bEnded) {
            LookAfterEnd();
        } else if (!m_bRefused && m_bHasData) {
            Add(FindingSeverity::ERROR, m_nLine, "The file ends without an end record",
                "It was cut short, and what is missing is not loaded");
        }
        AddRefusal();
        std::stable_sort(m_Findings.begin(), m_Findings.end(),
                         [](const auto& one, const auto& other) {
                             return one.m_Place.m_nLine < other.m_Place.m_nLine;
                         });
        return std::move(m_Findings);
    }

private:
    void Add(FindingSeverity severity, unsigned int line, std::string what, std::string why) {
        m_Findings.push_back({severity, {m_strName, line}, std::move(what), std::move(why)});
    }

    void AddAlike(FindingSeverity severity, const CLinesAlike& lines, const std::string& what,
                  const char* why) {
        if (lines.m_nCount != 0) {
            Add(severity, lines.m_nFirst, what + lines.AndMore(), why);
        }
    }

    // False at the end record, at the end of the file and at a line that is no record.
    bool ReadRecord(CHexLine& line) {
        FastHexRecord record;
        unsigned char bytes[HEX_MAX_DATA_SIZE];
        const char* text = m_Source.GetText();
        line.m_strText.clear();
        if (!DecodeRecordFast(text, m_Source.GetTextSize(), record, bytes)) {
            return ReadOddRecord(line);
        }
        ++m_nLine;
        if (record.type != INTEL_HEX_DATA) {
            FollowBase(std::string(text, record.textSize));
        }
        m_Source.Skip(record.textSize);
        line.m_nType = record.type;
        line.m_nLoadAddress = record.address;
        line.m_nCount = record.count;
        line.m_nBase = m_nBase;
        return true;
    }

    bool ReadOddRecord(CHexLine& line) {
        std::string error;
        bool skip = false;
        std::string& text = line.m_strText;
        do {
            if (!m_Source.ReadLine(text, &error)) {
                return false;
            }
            ++m_nLine;
            if (!m_Reader.ValidateIntelHexLine(text.c_str(), static_cast<int>(m_nLine), false,
                                               &error, &skip)) {
                m_bRefused = true;
                Add(FindingSeverity::ERROR, m_nLine, error.substr(0, SHOWN_OF_LINE),
                    "The loader refuses the file here");
                return false;
            }
        } while (skip);
        line.m_nType = Field(text, 7, 2);
        line.m_nLoadAddress = Field(text, 3, 4);
        line.m_nCount = Field(text, 1, 2);
        FollowBase(text);
        line.m_nBase = m_nBase;
        m_bEnded = line.m_nType == INTEL_HEX_END_OF_FILE;
        LookAtText(text, line.m_nCount);
        return !m_bEnded;
    }

    static unsigned int Field(const std::string& text, unsigned short start, unsigned short size) {
        unsigned short value = 0;
        CIntelHexBasics::ExtractHexField(text.c_str(), start, size, &value);
        return value;
    }

    // The reader knows what each type of record does to the base; an empty data record shows it.
    void FollowBase(const std::string& text) {
        std::vector<unsigned char> data;
        unsigned short type = 0;
        unsigned int ignored = 0;
        m_Reader.ProcessInputLine(text.c_str(), &ignored, data, &type);
        m_Reader.ProcessInputLine(":00000000", &m_nBase, data, &type);
    }

    void LookAtText(const std::string& text, unsigned int count) {
        const std::size_t size = SHORTEST_RECORD + std::size_t{2} * count;
        const std::string_view record = std::string_view(text).substr(0, size);
        for (const char digit : record.substr(1)) {
            if (HexDigitValue(digit) < 0) {
                m_OddDigits.Add(m_nLine);
                break;
            }
        }
        if (text.size() > size) {
            (text.find(':', size) == std::string::npos ? m_Remarks : m_JoinedLines).Add(m_nLine);
        }
    }

    void Take(const CHexLine& line) {
        switch (line.m_nType) {
            case INTEL_HEX_DATA:
                TakeData(line);
                break;
            case INTEL_HEX_START_LINEAR_ADDRESS:
                CloseStartRecord();
                TakeAddress(line, 4);
                m_nStartLine = line.m_nBase == m_nBaseBefore ? 0 : m_nLine;
                break;
            default:
                CloseStartRecord();
                TakeAddress(line, 2);
                break;
        }
        m_nBaseBefore = line.m_nBase;
    }

    void TakeAddress(const CHexLine& line, unsigned int size) {
        if (line.m_nCount != size) {
            Add(FindingSeverity::ERROR, m_nLine,
                FormatText("The length of the address record is %u instead of %u", line.m_nCount,
                           size),
                "Missing bytes count as zero, so data load at another address");
        }
    }

    void TakeData(const CHexLine& line) {
        if (line.m_nCount == 0) {
            m_Empty.Add(m_nLine);
            return;
        }
        if (!std::exchange(m_bHasData, true) && m_nLine > LINES_WITH_DATA) {
            Add(FindingSeverity::ERROR, m_nLine, "The first data come after the sixth line",
                "The loader refuses the file");
        }
        m_bMoved = m_bMoved || m_nStartLine != 0;
        const std::uint64_t end = std::uint64_t{line.m_nBase} + line.m_nLoadAddress + line.m_nCount;
        if (end > std::uint64_t{1} << 32) {
            m_Wrapping.Add(m_nLine);
        }
        const unsigned int address = WrappingAdd(line.m_nBase, line.m_nLoadAddress);
        if (m_Occupied->Take(address, line.m_nCount)) {
            m_nOverlapAt = m_Overlapping.m_nCount == 0 ? address : m_nOverlapAt;
            m_Overlapping.Add(m_nLine);
        }
    }

    void CloseStartRecord() {
        if (m_bMoved) {
            Add(FindingSeverity::ERROR, m_nStartLine,
                FormatText("The record of type 05 moves the data after it to base 0x%08X",
                           m_nBaseBefore),
                "Other tools take it for the start address only and leave the data where they are");
        }
        m_nStartLine = 0;
        m_bMoved = false;
    }

    void AddLinesAlike() {
        using enum FindingSeverity;
        AddAlike(ERROR, m_JoinedLines, "Another record follows on the same line",
                 "All after the checksum is ignored");
        AddAlike(WARNING, m_Remarks, "Characters after the checksum are ignored",
                 "If they belong to the record, its length is wrong");
        AddAlike(ERROR, m_OddDigits, "A field holds something else than hexadecimal digits",
                 "It is read up to there, other tools refuse the file");
        AddAlike(WARNING, m_Empty, "A data record without data", "It loads nothing");
        AddAlike(ERROR, m_Wrapping, "Data run beyond 4 GiB",
                 "Addresses wrap, so they load at address 0 and up");
        AddAlike(ERROR, m_Overlapping,
                 FormatText("Data for 0x%08X overlap earlier data", m_nOverlapAt),
                 "The loader refuses the file, or the later data win");
    }

    void LookAfterEnd() {
        std::string text;
        std::string error;
        CLinesAlike lines;
        bool hasRecords = false;
        while (m_Source.ReadLine(text, &error)) {
            ++m_nLine;
            // Old editors end a text with Ctrl-Z.
            if (!text.empty() && text != "\x1A") {
                lines.Add(m_nLine);
                hasRecords = hasRecords || text.front() == ':';
            }
        }
        if (hasRecords) {
            Add(FindingSeverity::ERROR, lines.m_nFirst, "More records follow after the end record",
                "They are not loaded; of files that were joined, only the first is");
        } else if (lines.m_nCount != 0) {
            Add(FindingSeverity::WARNING, lines.m_nFirst, "Text follows after the end record",
                "It is ignored");
        }
    }

    // What the loader says when nothing was found that it refuses.
    void AddRefusal() {
        if (StatusOfFindings(m_Findings) == 2 && m_bHasData) {
            return;
        }
        std::rewind(m_pFile);
        const std::string error =
            CChipImageByteData("", "", "").LoadFromHexFile(m_pFile, m_strName.c_str(), true, false);
        if (!error.empty() && !m_bRefused) {
            Add(FindingSeverity::ERROR, 0, m_bHasData ? error : "The file holds no data",
                "The loader refuses the file");
        }
    }

    std::FILE* m_pFile;
    const std::string& m_strName;
    std::vector<CFinding> m_Findings;
    CHexTextSource m_Source;
    CIntelHexReader m_Reader;  // for its rules; opens nothing
    unsigned int m_nLine = 0;
    bool m_bEnded = false;    // by an end record
    bool m_bRefused = false;  // at a line that is no record
    bool m_bHasData = false;

    unsigned int m_nBase = 0;
    unsigned int m_nBaseBefore = 0;
    unsigned int m_nStartLine = 0;  // of a record of type 05 that changed the base; 0 = none
    bool m_bMoved = false;          // data followed

    std::unique_ptr<CAddressOccupancy> m_Occupied = std::make_unique<CAddressOccupancy>();
    unsigned int m_nOverlapAt = 0;
    CLinesAlike m_Overlapping;
    CLinesAlike m_Wrapping;
    CLinesAlike m_Empty;
    CLinesAlike m_OddDigits;
    CLinesAlike m_Remarks;
    CLinesAlike m_JoinedLines;
};

}  // namespace

std::vector<CFinding> FindInHexFile(std::FILE* file, const std::string& name) {
    return CHexScan(file, name).Run();
}
