#include "hciimage/ConvertCommand.h"

#include <cstdio>

#include "hciimage/MemoryFiles.h"
#include "image/HcdFile.h"
#include "image/ImageWriters.h"
#include "os/Terminal.h"
#include "util/FormatText.h"
#include "util/WholeFile.h"

namespace {

constexpr unsigned char ERASED = 0xFF;
constexpr std::uint64_t LARGEST_FILLED = std::uint64_t{256} * 1024 * 1024;

// What is to be written.
struct OUTPUT {
    const CImageFileRequest& file;
    ImageFormat format = ImageFormat::HEX;
    unsigned int recordSize = 0;
    std::vector<CMemoryPiece> pieces{};
    std::optional<std::uint32_t> launch{};
};

std::string ChooseFormat(const IMAGE_ARGUMENTS& arguments, OUTPUT& output) {
    const std::optional<ImageFormat> format =
        output.file.m_Format ? output.file.m_Format : ImageFormatOfName(output.file.m_strName);
    if (!format) {
        return "the name " + output.file.m_strName + " tells no format: say --as before it";
    }
    if (*format == ImageFormat::NCD) {
        return output.file.m_strName + ": NCD files are not written";
    }
    output.format = *format;
    const bool isHcd = output.format == ImageFormat::HCD;
    output.recordSize = isHcd ? HCD_MAX_DATA_SIZE : HEX_USUAL_RECORD_SIZE;
    if (arguments.recordSize == 0) {
        return {};
    }
    if (output.format == ImageFormat::RAW) {
        return "raw files have no records: --record-size has no meaning";
    }
    output.recordSize = arguments.recordSize;
    return isHcd && output.recordSize > HCD_MAX_DATA_SIZE
               ? FormatText("HCD records hold at most %u bytes", HCD_MAX_DATA_SIZE)
               : "";
}

std::string ChooseLaunch(const IMAGE_ARGUMENTS& arguments, const CMemoryFiles& inputs,
                         OUTPUT& output) {
    if (output.format == ImageFormat::RAW) {
        return arguments.launch ? "raw files hold no launch address" : "";
    }
    output.launch = arguments.launch;
    return arguments.launch ? "" : inputs.FindLaunchAddress(&output.launch);
}

// A raw file may begin before its data.
std::string Fill(std::span<const unsigned char> filler, OUTPUT& output) {
    std::vector<CMemoryPiece>& pieces = output.pieces;
    if (const std::optional<std::uint32_t> start = output.file.m_RawAddress) {
        if (pieces.front().m_nAddress < *start) {
            return FormatText("there are data at address 0x%08X, before the start of ",
                              pieces.front().m_nAddress) +
                   output.file.m_strName;
        }
        pieces.insert(pieces.begin(), {*start, 0, {}});
    }
    const std::uint64_t size = pieces.back().End() - pieces.front().m_nAddress;
    if (size > LARGEST_FILLED) {
        return FormatText("%s would hold %llu bytes, mostly gaps; at most 256 MiB are written",
                          CTerminal(stderr).Shown(output.file.m_strName).c_str(),
                          static_cast<unsigned long long>(size));
    }
    pieces = FillGaps(pieces, filler);
    return {};
}

std::string Write(const OUTPUT& output) {
    CWholeFile file;
    std::string reason = file.Open(output.file.m_strName);
    if (!reason.empty()) {
        return "cannot write " + output.file.m_strName + ": " + reason;
    }
    const FileSink sink = [&file](std::string_view text) { file.Write(text); };
    if (output.format == ImageFormat::HEX) {
        WriteHexFile(output.pieces, output.recordSize, output.launch, sink);
    } else if (output.format == ImageFormat::HCD) {
        WriteHcdFile(output.pieces, output.recordSize, output.launch, sink);
    } else {
        WriteRawFile(output.pieces, sink);
    }
    reason = file.PutInPlace(false);
    return reason.empty() ? "" : "cannot write " + output.file.m_strName + ": " + reason;
}

// A raw file does not tell its address. Not on standard output, which may be the output file.
void PrintResult(const OUTPUT& output) {
    std::uint64_t bytes = 0;
    for (const CMemoryPiece& piece : output.pieces) {
        bytes += piece.m_Bytes.size();
    }
    std::fprintf(stderr, "%s: %s, %llu bytes from address 0x%08X",
                 CTerminal(stderr).Shown(output.file.m_strName).c_str(),
                 ImageFormatName(output.format), static_cast<unsigned long long>(bytes),
                 output.pieces.front().m_nAddress);
    if (output.launch) {
        std::fprintf(stderr, ", launch address 0x%08X", *output.launch);
    }
    std::fputs("\n", stderr);
}

}  // namespace

std::string Convert(const IMAGE_ARGUMENTS& arguments) {
    OUTPUT output{arguments.files.back()};
    CMemoryFiles inputs;
    std::string error = ChooseFormat(arguments, output);
    error = error.empty()
                ? inputs.Read(std::span(arguments.files).first(arguments.files.size() - 1))
                : error;
    error = error.empty() ? ChooseLaunch(arguments, inputs, output) : error;
    if (!error.empty()) {
        return error;
    }
    const CAddressMap map = inputs.Map();
    if (map.Pieces().empty()) {
        return "there are no data to write";
    }
    error = inputs.ConflictText(map);
    output.pieces = map.Pieces();
    const std::vector<unsigned char> filler(65536, arguments.fill.value_or(ERASED));
    if (error.empty() && (arguments.fill || output.format == ImageFormat::RAW)) {
        error = Fill(filler, output);
    }
    error = error.empty() ? Write(output) : error;
    if (error.empty()) {
        PrintResult(output);
    }
    return error;
}
