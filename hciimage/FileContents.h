#pragma once

#include <string>
#include <vector>

#include "hciimage/MemoryAreas.h"
#include "image/ImageFile.h"

struct CPatchSet {
    unsigned int m_nRecords = 0;
    unsigned int m_nBytes = 0;
    bool m_bWhole = false;  // its last record is there
};

// What is in an image file, without its bytes.
struct CFileContents {
    ImageFormat m_Format = ImageFormat::HEX;
    CImageFileFacts m_Facts;
    CMemoryAreas m_Areas;
    std::string m_strOverlap;            // a line about bytes that are there twice, or empty
    std::vector<CPatchSet> m_PatchSets;  // of an NCD file, which has no areas
    unsigned int m_nBytes = 0;           // in all records
};

// Returns the error text of ReadImageFile, empty on success.
[[nodiscard]] std::string ReadContents(const CImageFileRequest& request, CFileContents& contents);
