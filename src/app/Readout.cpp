#include "app/Readout.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

#include "app/Arguments.h"
#include "image/AddressMap.h"
#include "image/ImageFile.h"
#include "image/ImageWriters.h"
#include "util/ArgumentNumber.h"
#include "util/FormatText.h"
#include "util/WholeFile.h"

namespace {

constexpr unsigned int MOST_ADDRESS = 0xFFFFFFFF;
// More than any chip holds, in all areas together or, in a raw file, with the gaps between them.
constexpr std::uint64_t MOST_BYTES = std::uint64_t{256} * 1024 * 1024;
constexpr unsigned char ERASED = 0xFF;

bool IsCRC(const char* word) {
    return std::string_view(word) == "--crc";
}

std::string AddArea(std::string_view text, CMemoryReadout& readout) {
    const std::size_t dash = text.find('-');
    unsigned int first = 0;
    unsigned int last = 0;
    if (dash == std::string_view::npos ||
        !ReadArgumentNumber(text.substr(0, dash), MOST_ADDRESS, first) ||
        !ReadArgumentNumber(text.substr(dash + 1), MOST_ADDRESS, last) || last < first) {
        return "Memory area must be FIRST-LAST, such as 0x1000-0x1FFF, not " + std::string(text);
    }
    const std::uint64_t size = std::uint64_t{last} - first + 1;
    if (size + readout.m_Memory.GetTotalByteSize() > MOST_BYTES) {
        return "At most 256 MiB of memory can be read";
    }
    const auto count = static_cast<unsigned int>(size);
    unsigned int common = 0;
    if (readout.m_Memory.Overlaps(first, count, &common)) {
        return FormatText("Address 0x%08X is in two memory areas", common);
    }
    // Uninitialized, so that the system gives memory only for what is read.
    CByteBuffer area(std::make_unique_for_overwrite<unsigned char[]>(count), count);
    area.SetBaseAddress(first);
    readout.m_Memory.AddRange(std::move(area));
    return {};
}

std::string AddAreas(std::string_view list, CMemoryReadout& readout) {
    std::string error;
    for (std::size_t start = 0; error.empty() && start <= list.size();) {
        const std::size_t comma = std::min(list.find(',', start), list.size());
        error = AddArea(list.substr(start, comma - start), readout);
        start = comma + 1;
    }
    return error;
}

bool IsRaw(const CRequest& request) {
    return ImageFormatOfName(request.m_strMemoryFile) == ImageFormat::RAW;
}

CAddressMap MapOf(const CMemoryReadout& readout) {
    const CChipImageByteData* const memory = &readout.m_Memory;
    return CAddressMap({&memory, 1});
}

std::string CheckFile(const CRequest& request) {
    const std::string& name = request.m_strMemoryFile;
    if (name.empty()) {
        return "Memory file has no name";
    }
    const CAddressMap map = MapOf(*request.m_pReadout);
    if (IsRaw(request) &&
        map.Pieces().back().End() - map.Pieces().front().m_nAddress > MOST_BYTES) {
        return "Raw memory file would hold more than 256 MiB, mostly gaps -- " + name;
    }
    const std::string reason = CheckWholeFile(name);
    return reason.empty() ? "" : "Memory file cannot be written -- " + name + ": " + reason;
}

std::string WriteMemoryFile(const CRequest& request) {
    const CAddressMap map = MapOf(*request.m_pReadout);
    CWholeFile file;
    std::string reason = file.Open(request.m_strMemoryFile);
    if (reason.empty()) {
        const FileSink sink = [&file](std::string_view text) { file.Write(text); };
        if (IsRaw(request)) {
            const std::vector<unsigned char> filler(65536, ERASED);
            WriteRawFile(FillGaps(map.Pieces(), filler), sink);
        } else {
            WriteHexFile(map.Pieces(), HEX_USUAL_RECORD_SIZE, std::nullopt, sink);
        }
        reason = file.PutInPlace(true);
    }
    return reason.empty()
               ? ""
               : "Memory file cannot be written -- " + request.m_strMemoryFile + ": " + reason;
}

std::string PrintCRCs(const CMemoryReadout& readout) {
    for (unsigned int i = 0; i < readout.m_CRCs.size(); ++i) {
        const CByteBuffer& area = readout.m_Memory.GetByteBuffer(i);
        const unsigned int first = area.GetBaseAddress();
        std::printf("0x%08X-0x%08X 0x%08X\n", first, first + (area.GetDataByteSize() - 1),
                    readout.m_CRCs[i]);
    }
    return std::fflush(stdout) == 0
               ? ""
               : std::string("The CRC cannot be printed: ") + std::strerror(errno);
}

}  // namespace

bool AsksForReadout(int argc, char** argv) {
    return argc > 1 && (IsCRC(argv[1]) || std::string_view(argv[1]) == "--read");
}

std::string ReadReadoutRequest(int argc, char** argv, CRequest& request) {
    request.m_pReadout = std::make_shared<CMemoryReadout>();
    request.m_pReadout->m_bOnlyCRC = IsCRC(argv[1]);
    request.m_bVintorMode = true;
    const int words = request.m_pReadout->m_bOnlyCRC ? 1 : 2;
    if (argc < 2 + words || argv[1 + words][0] == '-') {
        return std::string(argv[1]) +
               (words == 1 ? " needs memory areas" : " needs memory areas and a file");
    }
    std::string error = AddAreas(argv[2], *request.m_pReadout);
    if (error.empty() && words == 2) {
        request.m_strMemoryFile = argv[3];
        error = CheckFile(request);
    }
    return error.empty() ? ReadOptions(argc - words - 1, argv + words + 1, request) : error;
}

std::string DeliverReadout(const CRequest& request) {
    return request.m_pReadout->m_bOnlyCRC ? PrintCRCs(*request.m_pReadout)
                                          : WriteMemoryFile(request);
}
