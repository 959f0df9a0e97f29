#include "os/MACAddress.h"

#include <algorithm>
#include <array>

void GetMACAddress(unsigned char* out) {
    constexpr std::array<unsigned char, 6> address{0x01, 0x02, 0x03, 0x04, 0x05, 0x06};
    std::copy(address.begin(), address.end(), out);
}
