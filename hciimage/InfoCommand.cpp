#include "hciimage/InfoCommand.h"

#include <array>
#include <cstdio>

#include "image/AddressMap.h"
#include "image/ImageFile.h"
#include "os/Terminal.h"
#include "util/Crc32.h"
#include "util/FormatText.h"
#include "util/HexText.h"
#include "util/JsonText.h"

namespace {

constexpr std::size_t SHOWN_BYTES = 8;
constexpr std::size_t AHEAD = 16;

struct AREA {
    std::uint32_t address = 0;
    std::uint64_t size = 0;
    std::uint64_t gapBefore = 0;
    std::uint32_t crc = 0;
    std::array<unsigned char, SHOWN_BYTES> start{};
    std::size_t startSize = 0;

    std::uint32_t Last() const { return static_cast<std::uint32_t>(address + size - 1); }
};

// Pieces that continue each other make an area. take(area) gets each.
template <typename Take>
void WalkAreas(std::span<const CMemoryPiece> pieces, const Take& take) {
    std::uint64_t end = pieces.empty() ? 0 : pieces.front().m_nAddress;
    while (!pieces.empty()) {
        AREA area{pieces.front().m_nAddress};
        area.gapBefore = area.address - end;
        unsigned int running = INITIAL_CRC_VALUE;
        const std::size_t count = CountContiguous(pieces, false);
        // In an image that is not in order, the bytes are anywhere.
        if (pieces.size() > AHEAD) {
            __builtin_prefetch(pieces[AHEAD].m_Bytes.data());
        }
        for (const CMemoryPiece& piece : pieces.first(count)) {
            running = update_crc(running, piece.m_Bytes.data(),
                                 static_cast<unsigned int>(piece.m_Bytes.size()));
            for (std::size_t i = 0; area.startSize < SHOWN_BYTES && i < piece.m_Bytes.size(); ++i) {
                area.start[area.startSize++] = piece.m_Bytes[i];
            }
        }
        end = pieces[count - 1].End();
        area.size = end - area.address;
        area.crc = final_update_crc(running, nullptr, 0);
        take(area);
        pieces = pieces.subspan(count);
    }
}

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
    CAreaLines() { m_strText.reserve(BLOCK_SIZE + 256); }
    CAreaLines(const CAreaLines&) = delete;
    CAreaLines& operator=(const CAreaLines&) = delete;
    ~CAreaLines() { Flush(); }

    void Put(const AREA& area) {
        std::array<char, 128> line;
        char* out = PutText(line.data(), "  0x");
        out = PutText(PutHexWord(out, area.address), "-0x");
        out = PutDecimal(PutHexWord(out, area.Last()), 12, area.size);
        out = PutText(PutDecimal(out, 12, area.gapBefore), "  ");
        out = PutText(PutHexWord(out, area.crc), " ");
        for (std::size_t i = 0; i < area.startSize; ++i) {
            *out++ = ' ';
            out = PutHexByte(out, area.start[i]);
        }
        *out++ = '\n';
        m_strText.append(line.data(), out);
        if (m_strText.size() >= BLOCK_SIZE) {
            Flush();
        }
    }

private:
    static constexpr std::size_t BLOCK_SIZE = 65536;

    static char* PutText(char* out, std::string_view text) {
        return std::copy(text.begin(), text.end(), out);
    }

    void Flush() {
        std::fwrite(m_strText.data(), 1, m_strText.size(), stdout);
        m_strText.clear();
    }

    std::string m_strText;
};

// What all areas have in common.
struct TOTALS {
    std::uint64_t areas = 0;
    std::uint64_t bytes = 0;
    std::uint64_t gapBytes = 0;

    void Add(const AREA& area) {
        ++areas;
        bytes += area.size;
        gapBytes += area.gapBefore;
    }
};

std::string OverlapText(const CAddressMap& map) {
    if (map.Overlaps().empty()) {
        return {};
    }
    const CAddressOverlap* const conflict = map.FirstConflict();
    return conflict == nullptr
               ? FormatText("  written twice, with equal bytes, first at 0x%08X\n",
                            map.Overlaps().front().m_nFirst)
               : FormatText("  written twice, with different bytes, at 0x%08X: %02X and %02X\n",
                            conflict->m_nDifference, conflict->m_nEarlierByte,
                            conflict->m_nLaterByte);
}

void PrintHead(const CImageFileRequest& request, const CImageFile& file) {
    const CImageFileFacts& facts = file.m_Image.GetFileFacts();
    std::printf("%s: %s", CTerminal(stdout).Shown(request.m_strName).c_str(),
                ImageFormatName(file.m_Format));
    if (facts.m_nRecords != 0) {
        std::printf(", %u records of at most %u bytes", facts.m_nRecords, facts.m_nLargestRecord);
    }
    if (facts.m_LaunchAddress) {
        std::printf(", launch address 0x%08X", *facts.m_LaunchAddress);
    }
    std::puts("");
}

void PrintMemory(const CImageFile& file) {
    const CChipImageByteData* const images[] = {&file.m_Image};
    const CAddressMap map(images);
    TOTALS totals;
    std::puts("  first      last            bytes  gap before  CRC-32    starts with");
    {
        CAreaLines lines;
        WalkAreas(map.Pieces(), [&](const AREA& area) {
            totals.Add(area);
            lines.Put(area);
        });
    }
    std::printf("  %llu bytes in %llu %s, %llu bytes of gaps\n%s",
                static_cast<unsigned long long>(totals.bytes),
                static_cast<unsigned long long>(totals.areas), totals.areas == 1 ? "area" : "areas",
                static_cast<unsigned long long>(totals.gapBytes), OverlapText(map).c_str());
}

struct PATCH_SET {
    unsigned int records = 0;
    unsigned int bytes = 0;
    bool isWhole = false;
};

std::vector<PATCH_SET> PatchSetsOf(const CChipImageByteData& image) {
    std::vector<PATCH_SET> sets;
    for (unsigned int i = 0; i < image.CountContiguousRanges(); ++i) {
        if (sets.empty() || sets.back().isWhole) {
            sets.emplace_back();
        }
        ++sets.back().records;
        sets.back().bytes += image.GetRangeByteSize(i);
        sets.back().isWhole = image.GetByteBuffer(i).GetFlag() != 0;
    }
    return sets;
}

void PrintPatchSets(const CImageFile& file) {
    unsigned int number = 0;
    for (const PATCH_SET& set : PatchSetsOf(file.m_Image)) {
        std::printf("  patch set %u: %u records, %u bytes%s\n", ++number, set.records, set.bytes,
                    set.isWhole ? "" : ", without its last record");
    }
}

CJsonText JsonOfMemory(const CImageFile& file) {
    const CChipImageByteData* const images[] = {&file.m_Image};
    const CAddressMap map(images);
    std::vector<CJsonText> areas;
    WalkAreas(map.Pieces(), [&areas](const AREA& area) {
        std::string start;
        for (std::size_t i = 0; i < area.startSize; ++i) {
            AppendHexByte(start, area.start[i]);
        }
        areas.push_back(CJsonText::Object({{"address", area.address},
                                           {"addressHex", FormatText("0x%08X", area.address)},
                                           {"size", area.size},
                                           {"gapBefore", area.gapBefore},
                                           {"crc32", FormatText("%08X", area.crc)},
                                           {"start", start}}));
    });
    return CJsonText::Array(areas);
}

CJsonText JsonOfPatchSets(const CImageFile& file) {
    std::vector<CJsonText> sets;
    for (const PATCH_SET& set : PatchSetsOf(file.m_Image)) {
        sets.push_back(CJsonText::Object(
            {{"records", set.records}, {"bytes", set.bytes}, {"whole", set.isWhole}}));
    }
    return CJsonText::Array(sets);
}

CJsonText JsonOf(const CImageFileRequest& request, const CImageFile& file) {
    const CImageFileFacts& facts = file.m_Image.GetFileFacts();
    const bool isNcd = file.m_Format == ImageFormat::NCD;
    const auto launch = facts.m_LaunchAddress;
    return CJsonText::Object(
        {{"file", request.m_strName},
         {"format", ImageFormatName(file.m_Format)},
         {"records", facts.m_nRecords},
         {"largestRecord", facts.m_nLargestRecord},
         {"launchAddress", launch ? CJsonText(*launch) : CJsonText(nullptr)},
         {"bytes", file.m_Image.GetTotalByteSize()},
         {isNcd ? "patchSets" : "areas", isNcd ? JsonOfPatchSets(file) : JsonOfMemory(file)}});
}

}  // namespace

std::string PrintInfo(const IMAGE_ARGUMENTS& arguments) {
    std::vector<CJsonText> infos;
    for (const CImageFileRequest& request : arguments.files) {
        CImageFile file;
        std::string error = ReadImageFile(request, file);
        if (!error.empty()) {
            return error;
        }
        if (arguments.json) {
            infos.push_back(JsonOf(request, file));
            continue;
        }
        PrintHead(request, file);
        if (file.m_Format == ImageFormat::NCD) {
            PrintPatchSets(file);
        } else {
            PrintMemory(file);
        }
    }
    if (arguments.json) {
        std::puts(CJsonText::Array(infos).Text().c_str());
    }
    return {};
}
