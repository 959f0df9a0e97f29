#include "hciimage/FileContents.h"

#include <memory>

#include "corekit/intelhex/FastHexDecoder.h"
#include "corekit/intelhex/IntelHexReader.h"
#include "image/AddressMap.h"
#include "image/HexRunStage.h"
#include "util/FormatText.h"

namespace {

constexpr std::uint64_t ADDRESS_SPACE = std::uint64_t{1} << 32;

// Takes the areas from the records, which is faster than to load the file: no byte has to be kept.
// False for all that the loader refuses or that needs a map, such as overlaps: the file must then
// be loaded.
bool ReadHexAreas(std::FILE* file, const std::string& name, CFileContents& contents) {
    constexpr unsigned int ROOM = 65536;
    const auto bytes = std::make_unique_for_overwrite<unsigned char[]>(ROOM + HEX_MAX_DATA_SIZE);
    CIntelHexReader reader;
    std::string error = reader.OpenDataFile(file, name.c_str());
    if (!error.empty()) {
        return false;
    }
    CMemoryAreas& areas = contents.m_Areas;
    unsigned int address = 0;
    unsigned int count = 0;
    while (reader.GetMoreData(&address, bytes.get(), ROOM, &count, &error)) {
        if (count == 0) {
            continue;
        }
        if (count >= ADDRESS_SPACE - address) {
            return false;
        }
        areas.Add(address, {bytes.get(), count});
        if (areas.Back().Size() > CHexRunStage::CAPACITY) {
            return false;
        }
    }
    contents.m_Facts = {reader.CountLines(), reader.CountDataRecords(), reader.GetLargestRecord(),
                        reader.GetStartAddress()};
    contents.m_nBytes = static_cast<unsigned int>(areas.CountBytes());
    return error.empty() && areas.Sort();
}

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

void TakeAreas(const CChipImageByteData& image, CFileContents& contents) {
    const CChipImageByteData* const images[] = {&image};
    const CAddressMap map(images);
    for (const CMemoryPiece& piece : map.Pieces()) {
        contents.m_Areas.Add(piece.m_nAddress, piece.m_Bytes);
    }
    static_cast<void>(contents.m_Areas.Sort());  // they are disjoint and in order
    contents.m_strOverlap = OverlapText(map);
}

void TakePatchSets(const CChipImageByteData& image, std::vector<CPatchSet>& sets) {
    for (unsigned int i = 0; i < image.CountContiguousRanges(); ++i) {
        if (sets.empty() || sets.back().m_bWhole) {
            sets.emplace_back();
        }
        ++sets.back().m_nRecords;
        sets.back().m_nBytes += image.GetRangeByteSize(i);
        sets.back().m_bWhole = image.GetByteBuffer(i).GetFlag() != 0;
    }
}

}  // namespace

std::string ReadContents(const CImageFileRequest& request, CFileContents& contents) {
    CFileHandle stream;
    std::string error = OpenImageFile(request, stream);
    if (!error.empty()) {
        return error;
    }
    if (KnownFormat(request).value_or(ImageFormat::HEX) == ImageFormat::HEX &&
        ReadHexAreas(stream.get(), request.m_strName, contents)) {
        return "";
    }
    contents = {};
    CImageFile file;
    error = ReadImageFile(stream.get(), request, file);
    if (!error.empty()) {
        return error;
    }
    contents.m_Format = file.m_Format;
    contents.m_Facts = file.m_Image.GetFileFacts();
    contents.m_nBytes = file.m_Image.GetTotalByteSize();
    if (file.m_Format == ImageFormat::NCD) {
        TakePatchSets(file.m_Image, contents.m_PatchSets);
    } else {
        TakeAreas(file.m_Image, contents);
    }
    return "";
}
