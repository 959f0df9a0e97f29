#pragma once

#include <cstdio>
#include <deque>
#include <string>

#include "util/ByteBuffer.h"

class CIntelHexReader;

// One image to be written into the chip: address ranges in the order added, the launch address, the
// first address loaded and three labels. All addresses are 32-bit and wrap. Operations that can
// fail return an error text, empty on success; an image that failed to load keeps the ranges added
// before the error. Copyable and movable; not synchronised.
class CChipImageByteData {
public:
    // Labels: the kind of chunk ("FIRMWARE"), its description ("Firmware code"), where it came from
    // (the file name as given). Null counts as empty.
    CChipImageByteData(const char* sourceType, const char* name, const char* sourceId);

    CChipImageByteData(const CChipImageByteData& other) = default;
    CChipImageByteData& operator=(const CChipImageByteData& other) = default;
    CChipImageByteData(CChipImageByteData&& other) noexcept = default;
    CChipImageByteData& operator=(CChipImageByteData&& other) noexcept = default;
    ~CChipImageByteData() = default;

    // Removes all ranges and both addresses; the labels stay.
    void Clear();

    const char* GetSourceType() const { return m_strSourceType.c_str(); }
    const char* GetName() const { return m_strName.c_str(); }
    const char* GetSourceId() const { return m_strSourceId.c_str(); }

    // No index is checked by the Get functions.
    unsigned int CountContiguousRanges() const {
        return static_cast<unsigned int>(m_Ranges.size());
    }
    const CByteBuffer& GetByteBuffer(unsigned int i) const { return m_Ranges[i]; }
    unsigned char* GetRangeBytePointer(unsigned int i) const { return m_Ranges[i].GetDataBuffer(); }
    unsigned int GetRangeStartingAddress(unsigned int i) const {
        return m_Ranges[i].GetBaseAddress();
    }
    unsigned int GetRangeByteSize(unsigned int i) const { return m_Ranges[i].GetDataByteSize(); }
    void AddRange(const CByteBuffer& range);
    unsigned int GetTotalByteSize() const;

    // Index of the first range in list order that holds the address, else -1.
    int FindRangeWithThisAddress(unsigned int addr) const;
    // The byte at the address from the first range that holds it, else -1.
    int GetByteValueAtThisAddress(unsigned int addr) const;
    // Whether size bytes at addr overlap a range; *where is then the first common address with the
    // first such range in list order.
    bool Overlaps(unsigned int addr, unsigned int size, unsigned int* where) const;

    // Accepted only inside a loaded range.
    bool SetLaunchAddress(unsigned int addr);
    bool SetFirstAddressLoaded(unsigned int addr);
    bool IsLaunchAddressKnown() const { return m_bLaunchAddressKnown; }
    unsigned int GetLaunchAddress() const { return m_nLaunchAddress; }
    unsigned int GetFirstAddressLoaded() const { return m_nFirstAddressLoaded; }  // 0 = not known

    std::string ModifyRangeByte(unsigned int rangeIndex, unsigned int offset, unsigned char value);
    std::string ModifySeveralBytes(unsigned int rangeIndex, unsigned int offset,
                                   const char* hexText);

    [[nodiscard]] std::string LoadFromHexFile(const char* fileName, bool clearFirst,
                                              bool allowOverlap);
    // *launchAddress receives what the launch record said, inside a loaded range or not; 0 without
    // such a record. It is written on success only.
    [[nodiscard]] std::string LoadFromHCDFile(const char* fileName, unsigned int* launchAddress,
                                              bool mergeAdjacent);
    [[nodiscard]] std::string LoadFromNCDFile(const char* fileName, unsigned int* patchSetCount);

    // The same with a file that the caller has opened under this name; null stands for one that
    // does not open. It is read from where it stands.
    [[nodiscard]] std::string LoadFromHexFile(std::FILE* file, const char* fileName,
                                              bool clearFirst, bool allowOverlap);
    [[nodiscard]] std::string LoadFromHCDFile(std::FILE* file, const char* fileName,
                                              unsigned int* launchAddress, bool mergeAdjacent);

private:
    // The overlap rule over the first count ranges.
    bool FirstRangesOverlap(size_t count, unsigned int addr, unsigned int size,
                            unsigned int* where) const;
    std::string ReadHexRuns(CIntelHexReader& reader, unsigned int* firstAddress);
    // Of the ranges behind the first oldCount, removes the first that overlaps one in front of it
    // and all that follow. The error text, empty when there is none.
    std::string DropFromFirstOverlap(size_t oldCount);
    std::string ReadHCDRecords(std::FILE* file, bool mergeAdjacent, unsigned int* launchAddress);

    std::string m_strSourceType;
    std::string m_strName;
    std::string m_strSourceId;
    // A list that grows without moving what it holds: images may have very many ranges.
    std::deque<CByteBuffer> m_Ranges;
    unsigned int m_nFirstAddressLoaded = 0;
    bool m_bFirstAddressKnown = false;
    unsigned int m_nLaunchAddress = 0;
    bool m_bLaunchAddressKnown = false;
};
