#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "image/AddressMap.h"

// A line of the map.
struct MAP_ITEM {
    enum KIND { AREA, OVERLAP, GAP };

    KIND kind = AREA;
    std::uint64_t first = 0;
    std::uint64_t size = 0;
    std::uint32_t source = 0;
    std::size_t parts = 1;          // areas that are too close together to be drawn one by one
    std::uint32_t otherSource = 0;  // of an overlap
    bool differs = false;           // the bytes of an overlap
    bool isFolded = false;          // a gap too long to be drawn to scale
};

// In order of address: areas of one file, gaps between them, and overlaps after the area in which
// they begin.
std::vector<MAP_ITEM> LayOutMap(const CAddressMap& map);

// "0x00500000-0x005005FF"
std::string ItemAddresses(const MAP_ITEM& item);
// "1536 bytes", and what else there is to say
std::string ItemText(const MAP_ITEM& item, const std::vector<std::string>& names);
