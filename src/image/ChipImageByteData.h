#pragma once

#include <cstdio>
#include <deque>
#include <optional>
#include <string>
#include <utility>

#include "util/ByteBuffer.h"

class CIntelHexReader;

// What the last file loaded into an image was made of, also when it failed to load.
struct CImageFileFacts {
    unsigned int m_nLines = 0;          // read from an Intel HEX file; the last is the bad one
    unsigned int m_nRecords = 0;        // that hold data
    unsigned int m_nLargestRecord = 0;  // bytes of data
    // Of the last start linear address record or launch record, in a loaded range or not.
    std::optional<unsigned int> m_LaunchAddress;
};

// One image to be written into the chip: address ranges in the order added, the launch address, the
// first address loaded and three labels. Addresses are 32-bit and wrap. Operations that can fail
// return an error text, empty on success; an image that failed to load keeps the ranges added
// before the error. One thread at a time.
class CChipImageByteData {
public:
    // Labels: the kind of chunk ("FIRMWARE"), its description ("Firmware code"), where it came from
    // (the file name as given). Null counts as empty.
    CChipImageByteData(const char* sourceType, const char* name, const char* sourceId);

    // Removes all ranges and both addresses; the labels stay.
    void Clear();

    const char* GetSourceType() const { return m_strSourceType.c_str(); }
    const char* GetName() const { return m_strName.c_str(); }
    const char* GetSourceId() const { return m_strSourceId.c_str(); }
    // The format of the file that was loaded last: "Intel HEX", "HCD" or "NCD"; "" without one.
    const char* GetFormat() const { return m_szFormat; }

    // The Get functions do not check the index.
    unsigned int CountContiguousRanges() const {
        return static_cast<unsigned int>(m_Ranges.size());
    }
    const CByteBuffer& GetByteBuffer(unsigned int i) const { return m_Ranges[i]; }
    unsigned char* GetRangeBytePointer(unsigned int i) const { return m_Ranges[i].GetDataBuffer(); }
    unsigned int GetRangeStartingAddress(unsigned int i) const {
        return m_Ranges[i].GetBaseAddress();
    }
    unsigned int GetRangeByteSize(unsigned int i) const { return m_Ranges[i].GetDataByteSize(); }
    void AddRange(const CByteBuffer& range) { m_Ranges.push_back(range); }
    void AddRange(CByteBuffer&& range) { m_Ranges.push_back(std::move(range)); }
    unsigned int GetTotalByteSize() const;

    // The index of the first range in list order that holds the address, else -1.
    int FindRangeWithThisAddress(unsigned int addr) const;
    // The byte at the address from the first range that holds it, else -1.
    int GetByteValueAtThisAddress(unsigned int addr) const;
    // Whether size bytes at addr overlap a range; *where is then the first common address with the
    // first such range in list order.
    bool Overlaps(unsigned int addr, unsigned int size, unsigned int* where) const;

    // False, and nothing changes, when the address is not in a loaded range.
    bool SetLaunchAddress(unsigned int addr);
    bool SetFirstAddressLoaded(unsigned int addr);
    bool IsLaunchAddressKnown() const { return m_LaunchAddress.has_value(); }
    // 0 while not known.
    unsigned int GetLaunchAddress() const { return m_LaunchAddress.value_or(0); }
    unsigned int GetFirstAddressLoaded() const { return m_FirstAddressLoaded.value_or(0); }

    const CImageFileFacts& GetFileFacts() const { return m_Facts; }

    std::string ModifyRangeByte(unsigned int rangeIndex, unsigned int offset, unsigned char value);
    std::string ModifySeveralBytes(unsigned int rangeIndex, unsigned int offset,
                                   const char* hexText);

    [[nodiscard]] std::string LoadFromHexFile(const char* fileName, bool clearFirst,
                                              bool allowOverlap);
    // On success only, *launchAddress receives the address of the launch record, in a loaded range
    // or not; 0 without such a record.
    [[nodiscard]] std::string LoadFromHCDFile(const char* fileName, unsigned int* launchAddress,
                                              bool mergeAdjacent);
    [[nodiscard]] std::string LoadFromNCDFile(const char* fileName, unsigned int* patchSetCount);

    // The same from the current position of a file that the caller opened under this name; null
    // means that it did not open.
    [[nodiscard]] std::string LoadFromHexFile(std::FILE* file, const char* fileName,
                                              bool clearFirst, bool allowOverlap);
    [[nodiscard]] std::string LoadFromHCDFile(std::FILE* file, const char* fileName,
                                              unsigned int* launchAddress, bool mergeAdjacent);
    [[nodiscard]] std::string LoadFromNCDFile(std::FILE* file, const char* fileName,
                                              unsigned int* patchSetCount);

private:
    // Overlaps for the first count ranges.
    bool FirstRangesOverlap(size_t count, unsigned int addr, unsigned int size,
                            unsigned int* where) const;
    std::string ReadHexRuns(CIntelHexReader& reader, unsigned int* firstAddress);
    // Of the ranges after the first oldCount, removes the first that overlaps an earlier one and
    // all that follow. Returns the error text, empty when none overlaps.
    std::string DropFromFirstOverlap(size_t oldCount);
    std::string ReadHCDRecords(std::FILE* file, bool mergeAdjacent);
    void CountRecord(unsigned int dataSize);

    std::string m_strSourceType;
    std::string m_strName;
    std::string m_strSourceId;
    const char* m_szFormat = "";
    // Grows without moving its elements: images may have very many ranges.
    std::deque<CByteBuffer> m_Ranges;
    std::optional<unsigned int> m_FirstAddressLoaded;
    std::optional<unsigned int> m_LaunchAddress;
    CImageFileFacts m_Facts;
};
