#include "hciimage/MemoryFiles.h"

#include "util/FormatText.h"

std::string CMemoryFiles::Read(std::span<const CImageFileRequest> requests) {
    for (const CImageFileRequest& request : requests) {
        CImageFile& file = m_Files.emplace_back();
        m_Names.push_back(request.m_strName);
        std::string error = ReadImageFile(request, file);
        if (!error.empty()) {
            return error;
        }
        if (file.m_Format == ImageFormat::NCD) {
            return request.m_strName + ": NCD files hold packets, not memory";
        }
    }
    return {};
}

CAddressMap CMemoryFiles::Map() const {
    std::vector<const CChipImageByteData*> images;
    for (const CImageFile& file : m_Files) {
        images.push_back(&file.m_Image);
    }
    return CAddressMap(images);
}

std::string CMemoryFiles::ConflictText(const CAddressMap& map) const {
    const CAddressOverlap* const conflict = map.FirstConflict();
    if (conflict == nullptr) {
        return {};
    }
    const std::string& one = m_Names[conflict->m_nEarlierSource];
    const std::string& other = m_Names[conflict->m_nLaterSource];
    return one + (&one == &other ? " has" : " and " + other + " have") +
           FormatText(" different bytes at address 0x%08X: %02X and %02X", conflict->m_nDifference,
                      conflict->m_nEarlierByte, conflict->m_nLaterByte);
}

std::string CMemoryFiles::FindLaunchAddress(std::optional<std::uint32_t>* launch) const {
    for (const CImageFile& file : m_Files) {
        const std::optional<unsigned int>& found = file.m_Image.GetFileFacts().m_LaunchAddress;
        if (found && *launch && *found != **launch) {
            return FormatText(
                "the files have different launch addresses, 0x%08X and 0x%08X: "
                "choose with --launch",
                **launch, *found);
        }
        *launch = found ? found : *launch;
    }
    return {};
}
