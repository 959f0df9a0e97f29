#include "hciimage/MapLayout.h"

#include <algorithm>

#include "util/FormatText.h"

namespace {

constexpr std::size_t MOST_AREAS = 200;

std::vector<MAP_ITEM> FindAreas(std::span<const CMemoryPiece> pieces) {
    std::vector<MAP_ITEM> areas;
    while (!pieces.empty()) {
        const std::size_t count = CountContiguous(pieces, true);
        const std::uint64_t first = pieces.front().m_nAddress;
        areas.push_back(
            {MAP_ITEM::AREA, first, pieces[count - 1].End() - first, pieces.front().m_nSource});
        pieces = pieces.subspan(count);
    }
    return areas;
}

std::uint64_t EndOf(const MAP_ITEM& item) {
    return item.first + item.size;
}

// Areas of one file that lie close together become one, and then those that lie less close.
void JoinUntilFew(std::vector<MAP_ITEM>& areas) {
    for (std::uint64_t gap = 16; areas.size() > MOST_AREAS && gap < (std::uint64_t{1} << 32);
         gap *= 4) {
        std::vector<MAP_ITEM> joined;
        for (const MAP_ITEM& area : areas) {
            const bool isClose = !joined.empty() && joined.back().source == area.source &&
                                 area.first - EndOf(joined.back()) <= gap;
            if (isClose) {
                joined.back().size = EndOf(area) - joined.back().first;
                joined.back().parts += area.parts;
            } else {
                joined.push_back(area);
            }
        }
        areas.swap(joined);
    }
}

std::vector<MAP_ITEM> FindGaps(const std::vector<MAP_ITEM>& areas) {
    std::uint64_t total = 0;
    for (const MAP_ITEM& area : areas) {
        total += area.size;
    }
    std::vector<MAP_ITEM> gaps;
    for (std::size_t i = 1; i < areas.size(); ++i) {
        const std::uint64_t end = EndOf(areas[i - 1]);
        const std::uint64_t size = areas[i].first - end;
        if (size != 0) {
            MAP_ITEM& gap = gaps.emplace_back();
            gap.kind = MAP_ITEM::GAP;
            gap.first = end;
            gap.size = size;
            gap.isFolded = size > total / 8;
        }
    }
    return gaps;
}

std::vector<MAP_ITEM> FindOverlaps(const CAddressMap& map) {
    std::vector<MAP_ITEM> overlaps;
    for (const CAddressOverlap& overlap : map.Overlaps()) {
        const bool continues = !overlaps.empty() &&
                               overlaps.back().source == overlap.m_nEarlierSource &&
                               overlaps.back().otherSource == overlap.m_nLaterSource &&
                               EndOf(overlaps.back()) == overlap.m_nFirst;
        if (!continues) {
            MAP_ITEM& item = overlaps.emplace_back();
            item.kind = MAP_ITEM::OVERLAP;
            item.first = overlap.m_nFirst;
            item.source = overlap.m_nEarlierSource;
            item.otherSource = overlap.m_nLaterSource;
        }
        overlaps.back().size += std::uint64_t{overlap.m_nLast} - overlap.m_nFirst + 1;
        overlaps.back().differs |= overlap.m_bDiffers;
    }
    return overlaps;
}

std::string CountText(std::uint64_t count, const char* unit) {
    return FormatText("%llu %s%s", static_cast<unsigned long long>(count), unit,
                      count == 1 ? "" : "s");
}

}  // namespace

std::vector<MAP_ITEM> LayOutMap(const CAddressMap& map) {
    std::vector<MAP_ITEM> items = FindAreas(map.Pieces());
    JoinUntilFew(items);
    const std::vector<MAP_ITEM> gaps = FindGaps(items);
    items.insert(items.end(), gaps.begin(), gaps.end());
    const std::vector<MAP_ITEM> overlaps = FindOverlaps(map);
    items.insert(
        items.end(), overlaps.begin(),
        overlaps.begin() + static_cast<std::ptrdiff_t>(std::min(overlaps.size(), MOST_AREAS)));
    std::ranges::stable_sort(items, {}, &MAP_ITEM::first);
    return items;
}

std::string ItemAddresses(const MAP_ITEM& item) {
    return FormatText("0x%08llX-0x%08llX", static_cast<unsigned long long>(item.first),
                      static_cast<unsigned long long>(EndOf(item) - 1));
}

std::string ItemText(const MAP_ITEM& item, const std::vector<std::string>& names) {
    const std::string size = CountText(item.size, "byte");
    if (item.kind == MAP_ITEM::GAP) {
        return "gap of " + size;
    }
    if (item.kind == MAP_ITEM::OVERLAP) {
        return "overlap of " + size + ": " + names[item.source] + " and " +
               names[item.otherSource] + (item.differs ? ", DIFFERENT" : ", equal");
    }
    return size + (item.parts == 1 ? "" : " in " + CountText(item.parts, "area")) + "  " +
           names[item.source];
}
