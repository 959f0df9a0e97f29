#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "image/ImageFile.h"

// What the command line of hciimage asks for.
struct IMAGE_ARGUMENTS {
    std::string command;  // one of ImageCommands, unless help or version is asked for
    std::vector<CImageFileRequest> files;
    std::string picture;                // empty = the map goes to standard output
    std::optional<unsigned char> fill;  // for gaps
    unsigned int recordSize = 0;        // 0 = what is usual for the format
    std::optional<std::uint32_t> launch;
    unsigned int limit = 20;  // addresses that diff shows
    bool json = false;
    bool showHelp = false;
    bool showVersion = false;
};

// Reads main's arguments. The error text, empty on success; after --help or --version nothing else
// is looked at. Not for two threads at once.
std::string ParseImageArguments(int argc, char** argv, IMAGE_ARGUMENTS& arguments);

const char* ImageHelp();
