#include "image/ImageFile.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>

#include "image/RewindableFile.h"
#include "util/FormatText.h"
#include "util/TextCase.h"

namespace {

// More than any chip holds; a file without an end must not fill the memory.
constexpr std::size_t LARGEST_RAW_FILE = std::size_t{256} * 1024 * 1024;

std::string ReadRaw(std::FILE* file, std::uint32_t address, CChipImageByteData& image) {
    constexpr std::size_t BLOCK_SIZE = std::size_t{1024} * 1024;
    std::size_t capacity = BLOCK_SIZE;
    struct stat info {};
    if (::fstat(::fileno(file), &info) == 0 && S_ISREG(info.st_mode) &&
        info.st_size < static_cast<off_t>(LARGEST_RAW_FILE)) {
        capacity = static_cast<std::size_t>(info.st_size) + 1;  // the end must show
    }
    auto block = std::make_unique_for_overwrite<unsigned char[]>(capacity);
    std::size_t size = 0;
    for (;;) {
        size += std::fread(block.get() + size, 1, capacity - size, file);
        if (size < capacity) {
            break;
        }
        if (size > LARGEST_RAW_FILE) {
            return "More than 256 MiB of raw data";
        }
        capacity *= 2;
        auto larger = std::make_unique_for_overwrite<unsigned char[]>(capacity);
        std::memcpy(larger.get(), block.get(), size);
        block = std::move(larger);
    }
    if (std::ferror(file) != 0) {
        return std::string("Failed to read raw data: ") + std::strerror(errno);
    }
    if (size > (std::uint64_t{1} << 32) - address) {
        return FormatText("%zu bytes from address 0x%08X do not fit below 4 GiB", size, address);
    }
    CByteBuffer range(std::move(block), static_cast<unsigned int>(size));
    range.SetBaseAddress(address);
    if (size != 0) {
        image.AddRange(std::move(range));
    }
    return "";
}

std::string ReadHex(std::FILE* file, const char* name, CChipImageByteData& image) {
    std::string error = image.LoadFromHexFile(file, name, true, false);
    const bool isOfALine = error.starts_with("Invalid ");
    const unsigned int line = image.GetFileFacts().m_nLines;
    return isOfALine && line != 0 ? FormatText("line %u: ", line) + error : error;
}

std::string ReadHcd(std::FILE* file, const char* name, CChipImageByteData& image) {
    unsigned int ignoredLaunchAddress = 0;  // the facts know it, too
    return image.LoadFromHCDFile(file, name, &ignoredLaunchAddress, true);
}

std::string ReadInFormat(std::FILE* stream, const CImageFileRequest& request, CImageFile& file) {
    const char* const name = request.m_strName.c_str();
    switch (file.m_Format) {
        case ImageFormat::HEX:
            return ReadHex(stream, name, file.m_Image);
        case ImageFormat::HCD:
            return ReadHcd(stream, name, file.m_Image);
        case ImageFormat::NCD:
            return file.m_Image.LoadFromNCDFile(stream, name, &file.m_nPatchSets);
        case ImageFormat::RAW:
            return ReadRaw(stream, request.m_RawAddress.value_or(0), file.m_Image);
    }
    return "";
}

std::string ReadHexOrHcd(std::FILE* stream, const CImageFileRequest& request, CImageFile& file) {
    const int first = std::getc(stream);
    std::rewind(stream);
    file.m_Format = ImageFormat::HEX;
    std::string error = ReadInFormat(stream, request, file);
    // A file that begins as a record does is damaged, not of another format.
    if (error.empty() || first == ':') {
        return error;
    }
    std::rewind(stream);
    file.m_Format = ImageFormat::HCD;
    error = ReadInFormat(stream, request, file);
    const CImageFileFacts& facts = file.m_Image.GetFileFacts();
    const bool holdsRecords = facts.m_nRecords != 0 || facts.m_LaunchAddress;
    return error.empty() && holdsRecords ? "" : "Neither Intel HEX nor HCD";
}

}  // namespace

const char* ImageFormatName(ImageFormat format) {
    static constexpr const char* NAMES[] = {"Intel HEX", "HCD", "NCD", "raw"};
    return NAMES[static_cast<std::size_t>(format)];
}

std::optional<ImageFormat> ImageFormatOfName(const std::string& fileName) {
    static constexpr std::pair<const char*, ImageFormat> ENDINGS[] = {
        {".hex", ImageFormat::HEX}, {".ihex", ImageFormat::HEX}, {".ihx", ImageFormat::HEX},
        {".hcd", ImageFormat::HCD}, {".ncd", ImageFormat::NCD},  {".bin", ImageFormat::RAW},
        {".raw", ImageFormat::RAW}};
    const std::string ending = std::filesystem::path(fileName).extension().string();
    for (const auto& [text, format] : ENDINGS) {
        if (EqualIgnoringCase(ending, text)) {
            return format;
        }
    }
    return std::nullopt;
}

std::optional<ImageFormat> KnownFormat(const CImageFileRequest& request) {
    return !request.m_Format && ImageFormatOfName(request.m_strName) == ImageFormat::NCD
               ? ImageFormat::NCD
               : request.m_Format;
}

std::string OpenImageFile(const CImageFileRequest& request, CFileHandle& stream) {
    stream = OpenRewindable(request.m_strName.c_str());
    if (stream) {
        return "";
    }
    return request.m_strName + ": " +
           (errno != 0 ? std::strerror(errno) : "Not a file that can be read");
}

std::string ReadImageFile(std::FILE* stream, const CImageFileRequest& request, CImageFile& file) {
    std::rewind(stream);
    const std::optional<ImageFormat> format = KnownFormat(request);
    file.m_Format = format.value_or(ImageFormat::HEX);
    const std::string error =
        format ? ReadInFormat(stream, request, file) : ReadHexOrHcd(stream, request, file);
    return error.empty() ? "" : request.m_strName + ": " + error;
}

std::string ReadImageFile(const CImageFileRequest& request, CImageFile& file) {
    CFileHandle stream;
    std::string error = OpenImageFile(request, stream);
    return error.empty() ? ReadImageFile(stream.get(), request, file) : error;
}
