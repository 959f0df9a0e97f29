#pragma once

#include <string>

#include "rules/ChipDownloadDescriptor.h"

// A line for each file that is to be loaded.
inline std::string FilesText(const CChipDownloadDescriptor& files) {
    std::string lines;
    for (unsigned int i = 0; i < files.CountMinidriverFiles(); ++i) {
        lines += "minidriver " + files.GetMinidriverFile(i) + "\n";
    }
    for (unsigned int i = 0; i < files.CountConfigDataFiles(); ++i) {
        lines += "config " + files.GetConfigDataFile(i) + "\n";
    }
    for (unsigned int i = 0; i < files.CountFirmwareFiles(); ++i) {
        lines += "firmware " + files.GetFirmwareFile(i) + "\n";
    }
    return lines;
}
