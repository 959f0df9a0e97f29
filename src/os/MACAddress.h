#pragma once

#include <algorithm>

// Writes six bytes: a fixed address, 01:02:03:04:05:06, the same on every host. No network
// interface is asked.
inline void GetMACAddress(unsigned char* out) {
    constexpr unsigned char ADDRESS[] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06};
    std::copy_n(ADDRESS, sizeof ADDRESS, out);
}
