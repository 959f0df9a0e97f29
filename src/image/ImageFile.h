#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

#include "image/ChipImageByteData.h"
#include "util/FileHandle.h"

enum class ImageFormat { HEX, HCD, NCD, RAW };

// "Intel HEX", "HCD", "NCD", "raw"
const char* ImageFormatName(ImageFormat format);

// The format that the end of a file name stands for: .hex, .ihex, .ihx, .hcd, .ncd, .bin, .raw in
// upper or lower case.
std::optional<ImageFormat> ImageFormatOfName(const std::string& fileName);

// A file and, where the file does not tell, what is in it.
struct CImageFileRequest {
    std::string m_strName;
    std::optional<ImageFormat> m_Format;
    std::optional<std::uint32_t> m_RawAddress;  // of the first byte of a raw file; 0 if not given
};

// The format given, or NCD if the name says so. Without one, a file is Intel HEX, or else HCD.
std::optional<ImageFormat> KnownFormat(const CImageFileRequest& request);

struct CImageFile {
    ImageFormat m_Format = ImageFormat::HEX;
    CChipImageByteData m_Image{"", "", ""};
    unsigned int m_nPatchSets = 0;  // of an NCD file
};

// Opens a file for ReadImageFile, also a pipe. Returns the error text with the name of the file,
// empty on success.
[[nodiscard]] std::string OpenImageFile(const CImageFileRequest& request, CFileHandle& stream);

// Reads a file from its start as the loader would: as Intel HEX, else as HCD; as NCD if its name
// says so, as raw bytes only if the request does. HCD records that continue each other become one
// range. Returns the error text with the name of the file, empty on success.
[[nodiscard]] std::string ReadImageFile(std::FILE* stream, const CImageFileRequest& request,
                                        CImageFile& file);
// Both in one.
[[nodiscard]] std::string ReadImageFile(const CImageFileRequest& request, CImageFile& file);
