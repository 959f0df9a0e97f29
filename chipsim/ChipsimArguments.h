#pragma once

#include <string>
#include <vector>

#include "chipsim/ChipSettings.h"

// What the command line of chipsim asks for.
struct CHIPSIM_ARGUMENTS {
    CHIP_SETTINGS settings;
    std::string loadFile;                 // empty = the memory is erased at first
    std::string dumpFile;                 // empty = no dump
    std::string recordsFile;              // likewise
    std::string captureFile;              // likewise
    std::vector<std::string> faultFiles;  // read already
    std::string linkPath;                 // empty = run the command
    std::vector<std::string> command;     // with its own arguments
    bool trace = false;
    bool showHelp = false;
    bool showVersion = false;
};

// Reads main's arguments. Options end at the first word that is none, or after "--". The error
// text, empty on success; after --help or --version nothing else is looked at. Not for two threads
// at once: the C library keeps its place in globals.
std::string ParseChipsimArguments(int argc, char** argv, CHIPSIM_ARGUMENTS& arguments);

const char* ChipsimHelp();
