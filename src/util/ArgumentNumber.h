#pragma once

#include <string_view>

// A number as this program's user writes it: decimal, or hexadecimal after 0x; no sign, nothing
// around it. False, with value left alone, for anything else and for more than most.
bool ReadArgumentNumber(std::string_view text, unsigned int most, unsigned int& value);
