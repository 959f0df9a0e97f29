#include "chipsim/SparseMemory.h"

#include <algorithm>

#include "util/Crc32.h"
#include "util/Wrap32.h"

void CSparseMemory::Write(std::uint32_t address, std::span<const unsigned char> bytes) {
    while (!bytes.empty()) {
        PAGE& page = PageFor(address);
        const std::uint32_t offset = address % PAGE_BYTES;
        const std::size_t count = std::min<std::size_t>(bytes.size(), PAGE_BYTES - offset);
        std::copy_n(bytes.begin(), count, page.bytes.begin() + offset);
        for (std::size_t i = 0; i < count; ++i) {
            page.written.set(offset + i);
        }
        bytes = bytes.subspan(count);
        address = WrappingAdd(address, static_cast<std::uint32_t>(count));
    }
}

void CSparseMemory::Read(std::uint32_t address, std::span<unsigned char> bytes) const {
    while (!bytes.empty()) {
        const PAGE* page = FindPage(address);
        const std::uint32_t offset = address % PAGE_BYTES;
        const std::size_t count = std::min<std::size_t>(bytes.size(), PAGE_BYTES - offset);
        if (page != nullptr) {
            std::copy_n(page->bytes.begin() + offset, count, bytes.begin());
        } else {
            std::fill_n(bytes.begin(), count, static_cast<unsigned char>(0xFF));
        }
        bytes = bytes.subspan(count);
        address = WrappingAdd(address, static_cast<std::uint32_t>(count));
    }
}

void CSparseMemory::EraseAllBut(std::uint32_t keepFirst, std::uint32_t keepLast) {
    for (auto it = m_Pages.begin(); it != m_Pages.end();) {
        const std::uint32_t first = it->first * PAGE_BYTES;
        const std::uint32_t last = first + (PAGE_BYTES - 1);
        const std::uint32_t keptFirst = std::max(first, keepFirst);
        const std::uint32_t keptLast = std::min(last, keepLast);
        if (keptFirst > keptLast) {
            it = m_Pages.erase(it);
            continue;
        }
        ErasePart(*it->second, 0, keptFirst - first);
        ErasePart(*it->second, keptLast - first + 1, last - keptLast);
        ++it;
    }
}

void CSparseMemory::ErasePart(PAGE& page, std::uint32_t first, std::uint32_t count) {
    for (std::uint32_t i = first; i < first + count; ++i) {
        page.bytes[i] = 0xFF;
        page.written.reset(i);
    }
}

std::uint32_t CSparseMemory::Crc(std::uint32_t address, std::uint32_t count) const {
    make_crc_table();
    std::uint32_t running = INITIAL_CRC_VALUE;
    std::array<unsigned char, PAGE_BYTES> block;
    while (count > 0) {
        const std::uint32_t piece = std::min(count, PAGE_BYTES - address % PAGE_BYTES);
        Read(address, std::span(block).first(piece));
        running = update_crc(running, block.data(), piece);
        address = WrappingAdd(address, piece);
        count -= piece;
    }
    return final_update_crc(running, nullptr, 0);
}

std::vector<CSparseMemory::REGION> CSparseMemory::WrittenRegions() const {
    std::vector<REGION> regions;
    for (const auto& [number, page] : m_Pages) {
        for (std::uint32_t i = 0; i < PAGE_BYTES; ++i) {
            if (!page->written.test(i)) {
                continue;
            }
            const std::uint32_t address = number * PAGE_BYTES + i;
            const bool continues =
                !regions.empty() && regions.back().bytes.size() == address - regions.back().address;
            if (!continues) {
                regions.push_back({address, {}});
            }
            regions.back().bytes.push_back(page->bytes[i]);
        }
    }
    return regions;
}

CSparseMemory::PAGE& CSparseMemory::PageFor(std::uint32_t address) {
    std::unique_ptr<PAGE>& page = m_Pages[address / PAGE_BYTES];
    if (page == nullptr) {
        page = std::make_unique<PAGE>();
    }
    return *page;
}

const CSparseMemory::PAGE* CSparseMemory::FindPage(std::uint32_t address) const {
    const auto it = m_Pages.find(address / PAGE_BYTES);
    return it == m_Pages.end() ? nullptr : it->second.get();
}
