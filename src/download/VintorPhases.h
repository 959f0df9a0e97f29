#pragma once

#include <string>

class CChipImageLoadingInformation;

// The optional phases of a standard download, as the rules and the user's overrides decide.
struct CVintorPhases {
    std::string m_strMemory;  // see GetVintorMemoryType
    bool m_bErase = false;
    bool m_bWrite = true;
    bool m_bVerify = false;
    bool m_bCheckCRC = false;
};

// *error is set when the rules lack what is needed to decide.
CVintorPhases DecideVintorPhases(const CChipImageLoadingInformation& info, std::string* error);

// The most data bytes of a record, as the rules or the user's override say, unchecked.
unsigned int MaxVintorRecordSize(const CChipImageLoadingInformation& info, bool isMinidriver);

// The data bytes of the next record of a range with left more bytes. Truncated to the one byte of
// the wire without a check, on purpose: a size that is out of range keeps its meaning. 256 sends
// empty records until the user cancels.
unsigned char NextVintorRecordSize(unsigned int maxSize, unsigned int left);
