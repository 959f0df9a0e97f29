#pragma once

// One memory area that a download filled.
struct COMPLETED_SECTION_INFO {
    COMPLETED_SECTION_INFO(unsigned int startAddress, unsigned int byteCount, bool isCode)
        : m_nStartAddress(startAddress), m_nByteCount(byteCount), m_bIsCode(isCode) {}

    unsigned int m_nStartAddress;
    unsigned int m_nByteCount;
    bool m_bIsCode;  // false = data
};
