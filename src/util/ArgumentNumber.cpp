#include "util/ArgumentNumber.h"

#include <charconv>

bool ReadArgumentNumber(std::string_view text, unsigned int most, unsigned int& value) {
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        text.remove_prefix(2);
        base = 16;
    }
    unsigned int number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, base);
    if (error != std::errc() || stop != end || number > most) {
        return false;
    }
    value = number;
    return true;
}
