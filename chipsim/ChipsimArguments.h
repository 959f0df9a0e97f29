#pragma once

#include <string>
#include <vector>

#include "chipsim/ChipSettings.h"

// What the command line of chipsim asks for.
struct CHIPSIM_ARGUMENTS {
    CHIP_SETTINGS settings;
    std::string dumpFile;              // empty = no dump
    std::string recordsFile;           // likewise
    std::string linkPath;              // empty = run the command
    std::vector<std::string> command;  // with its own arguments
    bool hasSeed = false;              // settings.seed was given
    bool trace = false;
    bool showHelp = false;
    bool showVersion = false;
};

// Options stop at the first argument that is none, or behind "--". The error text, empty on
// success; with showHelp or showVersion nothing else has been looked at.
std::string ParseChipsimArguments(const std::vector<std::string>& words,
                                  CHIPSIM_ARGUMENTS& arguments);

const char* ChipsimHelp();
