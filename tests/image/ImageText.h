#pragma once

#include <cstdio>
#include <string>

#include "image/ChipImageByteData.h"

// Every range as "address:bytes", in list order, so that images compare as a user sees them.
inline std::string ImageText(const CChipImageByteData& image) {
    std::string text;
    char piece[16];
    for (unsigned int i = 0; i < image.CountContiguousRanges(); ++i) {
        std::snprintf(piece, sizeof piece, "%s%X:", i == 0 ? "" : " ",
                      image.GetRangeStartingAddress(i));
        text += piece;
        for (unsigned int k = 0; k < image.GetRangeByteSize(i); ++k) {
            std::snprintf(piece, sizeof piece, "%02X", image.GetRangeBytePointer(i)[k]);
            text += piece;
        }
    }
    return text;
}
