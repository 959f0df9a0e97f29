#include <cstdlib>
#include <map>

#include "FuzzInput.h"
#include "image/ImageFile.h"
#include "image/ImageWriters.h"
#include "util/Wrap32.h"

// Any areas, written in each format and read again, against a plain memory of bytes.

namespace {

using PlainMemory = std::map<std::uint64_t, unsigned char>;

CAddressMap MapOf(const CChipImageByteData& image) {
    const CChipImageByteData* const images[] = {&image};
    return CAddressMap(images);
}

PlainMemory MemoryOf(const CAddressMap& map) {
    PlainMemory memory;
    std::uint64_t end = 0;
    for (const CMemoryPiece& piece : map.Pieces()) {
        FUZZ_CHECK(piece.m_nAddress >= end && !piece.m_Bytes.empty());
        std::uint64_t address = piece.m_nAddress;
        for (const unsigned char byte : piece.m_Bytes) {
            memory[address++] = byte;
        }
        end = address;
    }
    return memory;
}

// Fills the image. Of bytes that are there twice the map keeps those of the area that begins first.
void TakeAreas(CFuzzInput& input, CChipImageByteData& image) {
    std::uint32_t address = input.TakeWord();
    while (!input.IsEmpty()) {
        auto bytes = input.TakeBytes(1 + input.TakeByte());
        CByteBuffer range(bytes.data(), static_cast<unsigned int>(bytes.size()), BYTE_BUFFER_OWNED);
        range.SetBaseAddress(address);
        image.AddRange(range);
        const auto jump = static_cast<std::int8_t>(input.TakeByte());
        address = WrappingAdd(address, static_cast<std::uint32_t>(bytes.size()));
        address = WrappingAdd(address, static_cast<std::uint32_t>(jump * std::abs(jump)));
    }
}

void CheckWritten(const std::string& content, ImageFormat format, const PlainMemory& memory,
                  std::optional<std::uint32_t> launch) {
    static CMemoryFile file;
    CImageFile read;
    FUZZ_CHECK(ReadImageFile({file.Fill(content), {}, {}}, read).empty());
    FUZZ_CHECK(read.m_Format == format);
    FUZZ_CHECK(read.m_Image.GetFileFacts().m_LaunchAddress == launch);
    const CAddressMap map = MapOf(read.m_Image);
    FUZZ_CHECK(map.Overlaps().empty() && MemoryOf(map) == memory);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CFuzzInput input(data, size);
    const unsigned int recordSize = 1 + input.TakeBelow(251);
    const std::uint32_t launchAddress = input.TakeWord();
    const auto launch =
        launchAddress % 2 == 0 ? std::optional<std::uint32_t>(launchAddress) : std::nullopt;
    CChipImageByteData image("", "", "");
    TakeAreas(input, image);
    const CAddressMap map = MapOf(image);
    const PlainMemory memory = MemoryOf(map);
    FUZZ_CHECK(map.CountBytes() == memory.size());
    for (const auto& [address, byte] : memory) {
        // The image does not find what lies across the wrap.
        const int value = image.GetByteValueAtThisAddress(static_cast<std::uint32_t>(address));
        FUZZ_CHECK(value == byte || value < 0 || !map.Overlaps().empty());
    }
    if (memory.empty()) {
        return 0;
    }
    std::string content;
    const FileSink sink = [&content](std::string_view text) { content += text; };
    WriteHexFile(map.Pieces(), recordSize, launch, sink);
    CheckWritten(content, ImageFormat::HEX, memory, launch);
    content.clear();
    WriteHcdFile(map.Pieces(), recordSize, launch, sink);
    CheckWritten(content, ImageFormat::HCD, memory, launch);
    return 0;
}
