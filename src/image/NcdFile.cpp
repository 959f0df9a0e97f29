#include "image/NcdFile.h"

#include <cerrno>
#include <cstring>

#include "util/FormatText.h"

namespace {

constexpr unsigned int HEADER_SIZE = 5;  // the record type included
constexpr unsigned char EXPECTED_PID = 0x10;
constexpr unsigned char END_OF_PATCH_SET = 6;

}  // namespace

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
