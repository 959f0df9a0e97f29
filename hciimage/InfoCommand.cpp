#include "hciimage/InfoCommand.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

#include "hciimage/FileContents.h"
#include "os/Terminal.h"
#include "util/FormatText.h"
#include "util/HexText.h"
#include "util/JsonText.h"

namespace {

char* PutHexWord(char* out, std::uint32_t value) {
    for (const unsigned int shift : {24U, 16U, 8U, 0U}) {
        out = PutHexByte(out, static_cast<unsigned char>(value >> shift));
    }
    return out;
}

// Right-aligned in width columns.
char* PutDecimal(char* out, std::size_t width, std::uint64_t value) {
    char* digit = out + width;
    do {
        *--digit = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    std::fill(out, digit, ' ');
    return out + width;
}

// Prints the lines of areas. Images may have very many: printf would cost more than the load.
class CAreaLines {
public:
    CAreaLines() = default;
    CAreaLines(const CAreaLines&) = delete;
    CAreaLines& operator=(const CAreaLines&) = delete;
    ~CAreaLines() { Flush(); }

    void Put(const CMemoryArea& area, std::uint64_t gapBefore) {
        if (m_pEnd > m_Text.data() + m_Text.size() - LONGEST_LINE) {
            Flush();
        }
        char* out = PutText(m_pEnd, "  0x");
        out = PutText(PutHexWord(out, area.First()), "-0x");
        out = PutDecimal(PutHexWord(out, area.Last()), 12, area.Size());
        out = PutText(PutDecimal(out, 12, gapBefore), "  ");
        out = PutText(PutHexWord(out, area.Crc()), " ");
        for (const unsigned char byte : area.Start()) {
            *out++ = ' ';
            out = PutHexByte(out, byte);
        }
        *out++ = '\n';
        m_pEnd = out;
    }

private:
    static constexpr std::size_t LONGEST_LINE = 128;

    static char* PutText(char* out, std::string_view text) {
        return std::copy(text.begin(), text.end(), out);
    }

    void Flush() {
        std::fwrite(m_Text.data(), 1, static_cast<std::size_t>(m_pEnd - m_Text.data()), stdout);
        m_pEnd = m_Text.data();
    }

    std::array<char, 65536> m_Text;
    char* m_pEnd = m_Text.data();
};

void PrintHead(const CImageFileRequest& request, const CFileContents& contents) {
    const CImageFileFacts& facts = contents.m_Facts;
    std::printf("%s: %s", CTerminal(stdout).Shown(request.m_strName).c_str(),
                ImageFormatName(contents.m_Format));
    if (facts.m_nRecords != 0) {
        std::printf(", %u records of at most %u bytes", facts.m_nRecords, facts.m_nLargestRecord);
    }
    if (facts.m_LaunchAddress) {
        std::printf(", launch address 0x%08X", *facts.m_LaunchAddress);
    }
    std::puts("");
}

void PrintMemory(const CFileContents& contents) {
    const CMemoryAreas& areas = contents.m_Areas;
    std::uint64_t gapBytes = 0;
    std::puts("  first      last            bytes  gap before  CRC-32    starts with");
    {
        CAreaLines lines;
        areas.ForEach([&](const CMemoryArea& area, std::uint64_t gapBefore) {
            gapBytes += gapBefore;
            lines.Put(area, gapBefore);
        });
    }
    std::printf("  %llu bytes in %zu %s, %llu bytes of gaps\n%s",
                static_cast<unsigned long long>(areas.CountBytes()), areas.Count(),
                areas.Count() == 1 ? "area" : "areas", static_cast<unsigned long long>(gapBytes),
                contents.m_strOverlap.c_str());
}

void PrintPatchSets(const CFileContents& contents) {
    unsigned int number = 0;
    for (const CPatchSet& set : contents.m_PatchSets) {
        std::printf("  patch set %u: %u records, %u bytes%s\n", ++number, set.m_nRecords,
                    set.m_nBytes, set.m_bWhole ? "" : ", without its last record");
    }
}

CJsonText JsonOfMemory(const CFileContents& contents) {
    std::vector<CJsonText> areas;
    contents.m_Areas.ForEach([&areas](const CMemoryArea& area, std::uint64_t gapBefore) {
        std::string start;
        for (const unsigned char byte : area.Start()) {
            AppendHexByte(start, byte);
        }
        areas.push_back(CJsonText::Object({{"address", area.First()},
                                           {"addressHex", FormatText("0x%08X", area.First())},
                                           {"size", area.Size()},
                                           {"gapBefore", gapBefore},
                                           {"crc32", FormatText("%08X", area.Crc())},
                                           {"start", start}}));
    });
    return CJsonText::Array(areas);
}

CJsonText JsonOfPatchSets(const CFileContents& contents) {
    std::vector<CJsonText> sets;
    for (const CPatchSet& set : contents.m_PatchSets) {
        sets.push_back(CJsonText::Object(
            {{"records", set.m_nRecords}, {"bytes", set.m_nBytes}, {"whole", set.m_bWhole}}));
    }
    return CJsonText::Array(sets);
}

CJsonText JsonOf(const CImageFileRequest& request, const CFileContents& contents) {
    const CImageFileFacts& facts = contents.m_Facts;
    const bool isNcd = contents.m_Format == ImageFormat::NCD;
    const auto launch = facts.m_LaunchAddress;
    return CJsonText::Object({{"file", request.m_strName},
                              {"format", ImageFormatName(contents.m_Format)},
                              {"records", facts.m_nRecords},
                              {"largestRecord", facts.m_nLargestRecord},
                              {"launchAddress", launch ? CJsonText(*launch) : CJsonText(nullptr)},
                              {"bytes", contents.m_nBytes},
                              {isNcd ? "patchSets" : "areas",
                               isNcd ? JsonOfPatchSets(contents) : JsonOfMemory(contents)}});
}

}  // namespace

std::string PrintInfo(const IMAGE_ARGUMENTS& arguments) {
    std::vector<CJsonText> infos;
    for (const CImageFileRequest& request : arguments.files) {
        CFileContents contents;
        std::string error = ReadContents(request, contents);
        if (!error.empty()) {
            return error;
        }
        if (arguments.json) {
            infos.push_back(JsonOf(request, contents));
            continue;
        }
        PrintHead(request, contents);
        if (contents.m_Format == ImageFormat::NCD) {
            PrintPatchSets(contents);
        } else {
            PrintMemory(contents);
        }
    }
    if (arguments.json) {
        std::puts(CJsonText::Array(infos).Text().c_str());
    }
    return {};
}
