#include "image/NcdFile.h"

#include <cerrno>
#include <cstring>
#include <vector>

#include "util/FormatText.h"

namespace {

constexpr unsigned int VERSION_SIZE = 8;
constexpr unsigned int PATCH_DESC_SIZE = 8;
constexpr unsigned int HEADER_SIZE = 5;  // the record type included
constexpr unsigned char EXPECTED_PID = 0x10;
constexpr unsigned char END_OF_PATCH_SET = 6;

}  // namespace

std::string ReadNCDFileHead(std::FILE* file, const char* fileName, unsigned int* patchSets) {
    unsigned char version[VERSION_SIZE];
    if (std::fread(version, 1, VERSION_SIZE, file) != VERSION_SIZE) {
        return std::string("Failed to read version information from NCD file ") + fileName;
    }
    const std::size_t count = version[VERSION_SIZE - 1];
    if (count == 0) {
        return std::string("Patch set count is 0 in NCD file ") + fileName;
    }
    // Read, not sought past: the end of the file must show.
    std::vector<unsigned char> skipped(count * PATCH_DESC_SIZE);
    if (std::fread(skipped.data(), 1, skipped.size(), file) != skipped.size()) {
        return std::string("Failed to skip PATCH_DESC array in NCD file ") + fileName;
    }
    if (patchSets != nullptr) {
        *patchSets = version[VERSION_SIZE - 1];
    }
    return "";
}

bool ReadNextNCDRecord(std::FILE* file, bool /*flag*/, unsigned int* recordSize,
                       unsigned char* record, bool* endsPatchSet, std::string* error) {
    error->clear();
    if (std::fread(record, 1, HEADER_SIZE, file) != HEADER_SIZE) {
        // Ending inside a header is a normal end of the file; failing to read is not.
        if (std::ferror(file) != 0) {
            *error = std::string("Failed to read NCD data: ") + std::strerror(errno);
        }
        return false;
    }
    if (record[0] != EXPECTED_PID) {
        *error = FormatText("Unexpected PID value 0x%02X in NCD record", record[0]);
        return false;
    }
    // A length of 0 has no room for the type byte that was just read: -1 bytes remain.
    const int rest = record[3] - 1;
    if (rest < 0 || std::fread(record + HEADER_SIZE, 1, static_cast<size_t>(rest), file) !=
                        static_cast<size_t>(rest)) {
        *error = FormatText("Not enough NCD data bytes in record -- %d bytes expected", rest);
        return false;
    }
    *recordSize = HEADER_SIZE + static_cast<unsigned int>(rest);
    *endsPatchSet = record[4] == END_OF_PATCH_SET;
    return true;
}
