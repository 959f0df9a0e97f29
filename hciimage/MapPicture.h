#pragma once

#include <string>
#include <vector>

#include "hciimage/MapLayout.h"

// The map in characters: a bar for each area, the longest one 40 characters long.
std::string MapText(const std::vector<MAP_ITEM>& items, const std::vector<std::string>& names);

// The map as an SVG document: addresses from top to bottom, areas to scale.
std::string MapSvg(const std::vector<MAP_ITEM>& items, const std::vector<std::string>& names);
