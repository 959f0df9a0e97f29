#pragma once

#include <deque>
#include <span>
#include <string>
#include <vector>

#include "image/AddressMap.h"
#include "image/ImageFile.h"

// Files that hold memory, read and laid over each other.
class CMemoryFiles {
public:
    // The error text, empty on success. Refuses NCD files, which hold packets.
    [[nodiscard]] std::string Read(std::span<const CImageFileRequest> requests);

    const std::deque<CImageFile>& Files() const { return m_Files; }
    CAddressMap Map() const;

    // Tells that the files have different bytes for one address; empty when they have not.
    std::string ConflictText(const CAddressMap& map) const;

    // The launch address of the files: none, or the same in all that have one. The error text,
    // empty on success.
    [[nodiscard]] std::string FindLaunchAddress(std::optional<std::uint32_t>* launch) const;

private:
    std::vector<std::string> m_Names;
    std::deque<CImageFile> m_Files;
};
