#pragma once

#include <string>

#include "image/ChipImageByteData.h"
#include "util/FormatText.h"

// Every range as " address:bytes", in list order, so that images compare as a user sees them.
inline std::string RangesText(const CChipImageByteData& image) {
    std::string text;
    for (unsigned int i = 0; i < image.CountContiguousRanges(); ++i) {
        text += FormatText(" %X:", image.GetRangeStartingAddress(i));
        for (unsigned int k = 0; k < image.GetRangeByteSize(i); ++k) {
            const unsigned char byte = image.GetRangeBytePointer(i)[k];
            text += "0123456789ABCDEF"[byte >> 4];
            text += "0123456789ABCDEF"[byte & 0xF];
        }
    }
    return text;
}

inline std::string ImageText(const CChipImageByteData& image) {
    return FormatText("first %X, launch ", image.GetFirstAddressLoaded()) +
           (image.IsLaunchAddressKnown() ? FormatText("%X:", image.GetLaunchAddress()) : "-:") +
           RangesText(image);
}
