#include "image/HcdFile.h"

#include <cerrno>
#include <cstring>

#include "image/HciCommand.h"
#include "util/ByteOrder.h"

namespace {

constexpr unsigned int HEADER_SIZE = 3;
constexpr unsigned int ADDRESS_SIZE = 4;

bool Is(const HCI_COMMAND& command, const unsigned char* header) {
    return CopyLittleEndianBufferToUint16(header) == command.m_nOpcode;
}

bool Fail(std::string* error, const char* text) {
    *error = text;
    return false;
}

}  // namespace

bool ReadNextHCDRecord(std::FILE* file, unsigned int* address, unsigned int* dataSize,
                       unsigned char* data, bool* isLaunch, std::string* error) {
    error->clear();
    unsigned char header[HEADER_SIZE];
    if (std::fread(header, 1, HEADER_SIZE, file) != HEADER_SIZE) {
        // A file that ends inside a header ends the records; one that cannot be read does not.
        if (std::ferror(file) != 0) {
            *error = std::string("Failed to read HCD data: ") + std::strerror(errno);
        }
        return false;
    }
    *isLaunch = Is(HCI_LAUNCH_RAM, header);
    if ((!*isLaunch && !Is(HCI_WRITE_RAM, header)) || header[2] < ADDRESS_SIZE) {
        return Fail(error, "Wrong HCD file format trying to read the command information");
    }
    unsigned char addressBytes[ADDRESS_SIZE];
    if (std::fread(addressBytes, 1, ADDRESS_SIZE, file) != ADDRESS_SIZE) {
        return Fail(error, "Wrong HCD file format trying to read 32-bit address");
    }
    *address = CopyLittleEndianBufferToUint32(addressBytes);
    *dataSize = header[2] - ADDRESS_SIZE;
    if (std::fread(data, 1, *dataSize, file) != *dataSize) {
        return Fail(error, "Not enough HCD data bytes in record");
    }
    return true;
}
