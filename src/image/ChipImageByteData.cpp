#include "image/ChipImageByteData.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <utility>
#include <vector>

#include "corekit/intelhex/IntelHexReader.h"
#include "image/AddressOccupancy.h"
#include "image/HcdFile.h"
#include "image/HexRunStage.h"
#include "image/NcdFile.h"
#include "util/FileHandle.h"
#include "util/FormatText.h"
#include "util/HexText.h"
#include "util/Wrap32.h"

namespace {

constexpr unsigned int MAX_BYTES_TO_MODIFY = 8192;

std::string TextOrEmpty(const char* text) {
    return text == nullptr ? "" : text;
}

std::string OpenError(const char* format, const char* fileName) {
    return fileName == nullptr || *fileName == '\0'
               ? FormatText("Invalid %s file name!", format)
               : FormatText("Failed to open %s file ", format) + fileName;
}

// As most files are. No two of the ranges overlap then.
bool AreInOrder(const std::deque<CByteBuffer>& ranges) {
    std::uint64_t end = 0;
    return std::ranges::all_of(ranges, [&end](const CByteBuffer& range) {
        const bool follows = range.GetBaseAddress() >= end && range.GetDataByteSize() != 0;
        end = std::uint64_t{range.GetBaseAddress()} + range.GetDataByteSize();
        return follows;
    });
}

}  // namespace

CChipImageByteData::CChipImageByteData(const char* sourceType, const char* name,
                                       const char* sourceId)
    : m_strSourceType(TextOrEmpty(sourceType)),
      m_strName(TextOrEmpty(name)),
      m_strSourceId(TextOrEmpty(sourceId)) {}

void CChipImageByteData::Clear() {
    m_szFormat = "";
    m_Ranges.clear();
    m_FirstAddressLoaded.reset();
    m_LaunchAddress.reset();
    m_Facts = {};
}

unsigned int CChipImageByteData::GetTotalByteSize() const {
    unsigned int total = 0;
    for (const CByteBuffer& range : m_Ranges) {
        total += range.GetDataByteSize();
    }
    return total;
}

int CChipImageByteData::FindRangeWithThisAddress(unsigned int addr) const {
    for (size_t i = 0; i < m_Ranges.size(); ++i) {
        // Written as a difference, because the end of a range at the top wraps to 0.
        const unsigned int base = m_Ranges[i].GetBaseAddress();
        if (addr >= base && addr - base < m_Ranges[i].GetDataByteSize()) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

int CChipImageByteData::GetByteValueAtThisAddress(unsigned int addr) const {
    const int index = FindRangeWithThisAddress(addr);
    if (index < 0) {
        return -1;
    }
    const CByteBuffer& range = m_Ranges[static_cast<size_t>(index)];
    return range.GetDataBuffer()[addr - range.GetBaseAddress()];
}

bool CChipImageByteData::Overlaps(unsigned int addr, unsigned int size, unsigned int* where) const {
    return FirstRangesOverlap(m_Ranges.size(), addr, size, where);
}

bool CChipImageByteData::FirstRangesOverlap(size_t count, unsigned int addr, unsigned int size,
                                            unsigned int* where) const {
    // Sums wrap, as the chip's 32-bit addresses do: data up to 0xFFFFFFFF have their end at 0.
    for (size_t i = 0; i < count; ++i) {
        const CByteBuffer& range = m_Ranges[i];
        const unsigned int base = range.GetBaseAddress();
        const unsigned int last = WrappingSubtract(WrappingAdd(base, range.GetDataByteSize()), 1);
        if (WrappingAdd(addr, size) > base && last >= addr) {
            *where = std::max(addr, base);
            return true;
        }
    }
    return false;
}

bool CChipImageByteData::SetLaunchAddress(unsigned int addr) {
    if (FindRangeWithThisAddress(addr) < 0) {
        return false;
    }
    m_LaunchAddress = addr;
    return true;
}

bool CChipImageByteData::SetFirstAddressLoaded(unsigned int addr) {
    if (FindRangeWithThisAddress(addr) < 0) {
        return false;
    }
    m_FirstAddressLoaded = addr;
    return true;
}

std::string CChipImageByteData::ModifyRangeByte(unsigned int rangeIndex, unsigned int offset,
                                                unsigned char value) {
    if (rangeIndex >= m_Ranges.size()) {
        return "Invalid range index.";
    }
    const CByteBuffer& range = m_Ranges[rangeIndex];
    if (offset >= range.GetDataByteSize()) {
        return "Invalid byte offset.";
    }
    range.GetDataBuffer()[offset] = value;
    return "";
}

std::string CChipImageByteData::ModifySeveralBytes(unsigned int rangeIndex, unsigned int offset,
                                                   const char* hexText) {
    if (rangeIndex >= m_Ranges.size()) {
        return "Invalid range index.";
    }
    std::vector<unsigned char> bytes(MAX_BYTES_TO_MODIFY);
    unsigned int count = 0;
    if (hexText == nullptr ||
        !ParseHexBytesFromString(hexText, bytes.data(), MAX_BYTES_TO_MODIFY, &count) ||
        count == 0) {
        return "Failed to parse hex bytes.";
    }
    const CByteBuffer& range = m_Ranges[rangeIndex];
    if (count > range.GetDataByteSize() || offset > range.GetDataByteSize() - count) {
        return "Invalid byte offset and/or data size.";
    }
    std::copy_n(bytes.data(), count, range.GetDataBuffer() + offset);
    return "";
}

std::string CChipImageByteData::LoadFromHexFile(const char* fileName, bool clearFirst,
                                                bool allowOverlap) {
    return LoadFromHexFile(OpenFileForReading(fileName).get(), fileName, clearFirst, allowOverlap);
}

std::string CChipImageByteData::LoadFromHexFile(std::FILE* file, const char* fileName,
                                                bool clearFirst, bool allowOverlap) {
    if (clearFirst) {
        Clear();
    }
    m_Facts = {};
    CIntelHexReader reader;
    std::string error = reader.OpenDataFile(file, fileName);
    if (!error.empty()) {
        m_Facts.m_nLines = reader.CountLines();
        return error;
    }

    const size_t oldCount = m_Ranges.size();
    unsigned int firstAddress = 0;
    error = ReadHexRuns(reader, &firstAddress);
    m_Facts = {reader.CountLines(), reader.CountDataRecords(), reader.GetLargestRecord(),
               reader.GetStartAddress()};
    if (!allowOverlap) {
        // An overlap is the earlier error: the reading went on past it.
        std::string overlap = DropFromFirstOverlap(oldCount);
        if (!overlap.empty()) {
            error = std::move(overlap);
        }
    }
    if (!m_FirstAddressLoaded) {
        SetFirstAddressLoaded(firstAddress);
    }
    m_szFormat = error.empty() ? "Intel HEX" : "";
    return error;
}

std::string CChipImageByteData::ReadHexRuns(CIntelHexReader& reader, unsigned int* firstAddress) {
    CHexRunStage stage;
    bool first = true;
    unsigned int address = 0;
    unsigned int count = 0;
    std::string error;
    while (reader.GetMoreData(&address, stage.GetTail(), stage.GetRoom(), &count, &error)) {
        if (count == 0) {
            continue;
        }
        if (std::exchange(first, false)) {
            *firstAddress = address;
        }
        if (!stage.IsContinuedAt(address)) {
            if (!stage.IsEmpty()) {
                stage.MoveRunTo(m_Ranges.emplace_back(), count);
            }
            stage.StartAt(address);
        } else if (count > stage.GetRoom()) {
            return FormatText("More than 16 MiB of contiguous data at address 0x%08X", address);
        }
        stage.KeepTail(count);
    }
    if (error.empty() && !stage.IsEmpty()) {
        stage.MoveRunTo(m_Ranges.emplace_back(), 0);
    }
    return error;
}

// All new ranges are checked together: looking up addresses mostly waits for memory, and in a short
// loop these waits overlap.
std::string CChipImageByteData::DropFromFirstOverlap(size_t oldCount) {
    if (AreInOrder(m_Ranges)) {
        return "";
    }
    const auto occupied = std::make_unique<CAddressOccupancy>();
    for (size_t i = 0; i < m_Ranges.size(); ++i) {
        const unsigned int address = m_Ranges[i].GetBaseAddress();
        const unsigned int size = m_Ranges[i].GetDataByteSize();
        unsigned int where = 0;
        if (occupied->Take(address, size) && i >= oldCount &&
            FirstRangesOverlap(i, address, size, &where)) {
            m_Ranges.erase(m_Ranges.begin() + static_cast<std::ptrdiff_t>(i), m_Ranges.end());
            return FormatText("Data overlap at address 0x%08X", where);
        }
    }
    return "";
}

std::string CChipImageByteData::LoadFromHCDFile(const char* fileName, unsigned int* launchAddress,
                                                bool mergeAdjacent) {
    return LoadFromHCDFile(OpenFileForReading(fileName).get(), fileName, launchAddress,
                           mergeAdjacent);
}

std::string CChipImageByteData::LoadFromHCDFile(std::FILE* file, const char* fileName,
                                                unsigned int* launchAddress, bool mergeAdjacent) {
    Clear();
    if (file == nullptr) {
        return OpenError("HCD", fileName);
    }
    std::string error = ReadHCDRecords(file, mergeAdjacent);
    // The first range holds the first address of the file.
    if (!m_Ranges.empty()) {
        SetFirstAddressLoaded(m_Ranges.front().GetBaseAddress());
    }
    if (!error.empty()) {
        return error;
    }
    m_szFormat = "HCD";
    *launchAddress = m_Facts.m_LaunchAddress.value_or(0);
    SetLaunchAddress(*launchAddress);
    return "";
}

std::string CChipImageByteData::ReadHCDRecords(std::FILE* file, bool mergeAdjacent) {
    // Collects the data of the last range, so that merging does not copy it for each record.
    std::vector<unsigned char> gathered;
    const auto gatheredSize = [&] { return static_cast<unsigned int>(gathered.size()); };
    const auto closeRange = [&] {
        if (!m_Ranges.empty()) {
            m_Ranges.back().AssignData(gathered.data(), gatheredSize(), BYTE_BUFFER_OWNED);
            gathered.clear();
        }
    };

    unsigned int address = 0;
    unsigned int size = 0;
    unsigned char data[HCD_MAX_DATA_SIZE];
    bool isLaunch = false;
    std::string error;
    while (ReadNextHCDRecord(file, &address, &size, data, &isLaunch, &error)) {
        if (isLaunch) {
            m_Facts.m_LaunchAddress = address;
            continue;
        }
        CountRecord(size);
        if (m_Ranges.empty() || !mergeAdjacent ||
            address != WrappingAdd(m_Ranges.back().GetBaseAddress(), gatheredSize())) {
            closeRange();
            m_Ranges.emplace_back().SetBaseAddress(address);
        }
        gathered.insert(gathered.end(), data, data + size);
    }
    closeRange();
    return error;
}

void CChipImageByteData::CountRecord(unsigned int dataSize) {
    ++m_Facts.m_nRecords;
    m_Facts.m_nLargestRecord = std::max(m_Facts.m_nLargestRecord, dataSize);
}

std::string CChipImageByteData::LoadFromNCDFile(const char* fileName, unsigned int* patchSetCount) {
    return LoadFromNCDFile(OpenFileForReading(fileName).get(), fileName, patchSetCount);
}

std::string CChipImageByteData::LoadFromNCDFile(std::FILE* file, const char* fileName,
                                                unsigned int* patchSetCount) {
    *patchSetCount = 0;
    Clear();
    if (file == nullptr) {
        return OpenError("NCD", fileName);
    }
    std::string error = ReadNCDFileHead(file, fileName);
    if (!error.empty()) {
        return error;
    }

    unsigned int size = 0;
    unsigned char record[NCD_MAX_RECORD_SIZE];
    bool endsPatchSet = false;
    while (ReadNextNCDRecord(file, false, &size, record, &endsPatchSet, &error)) {
        CByteBuffer& range = m_Ranges.emplace_back(record, size, BYTE_BUFFER_OWNED);
        CountRecord(size);
        if (endsPatchSet) {
            range.SetFlag(1);
            ++*patchSetCount;
        }
    }
    m_szFormat = error.empty() ? "NCD" : "";
    return error;
}
