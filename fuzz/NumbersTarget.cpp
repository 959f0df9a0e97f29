#include <cstring>

#include "FuzzInput.h"
#include "util/DateTimeHolder.h"
#include "util/HexText.h"
#include "util/NumberText.h"

// Numbers in every notation, and dates with times.

namespace {

// The number from its digits, one by one, modulo 2^32.
std::uint32_t ValueOf(const std::string& text) {
    const bool isPrefixed = text.size() > 2 && text[0] == '0' && std::strchr("xXbB", text[1]);
    const std::uint64_t radix = !isPrefixed ? 10 : (text[1] == 'x' || text[1] == 'X' ? 16 : 2);
    const bool isNegative = text[0] == '-';
    std::uint64_t value = 0;
    for (std::size_t i = isPrefixed ? 2 : (isNegative ? 1 : 0); i < text.size(); ++i) {
        const char digit = text[i] >= 'a' ? static_cast<char>(text[i] - 'a' + 'A') : text[i];
        value = (value * radix +
                 static_cast<std::uint64_t>(digit <= '9' ? digit - '0' : digit - 'A' + 10)) &
                0xFFFFFFFFU;
    }
    return static_cast<std::uint32_t>(isNegative ? (0x100000000U - value) & 0xFFFFFFFFU : value);
}

void CheckInteger(const std::string& text) {
    constexpr unsigned int UNTOUCHED = 0xA5A5A5A5U;
    unsigned int value = UNTOUCHED;
    const bool isNumber = TryToGetUIntValue(text.c_str(), &value);
    FUZZ_CHECK(isNumber ==
               (IsDecInt(text.c_str()) || IsHexInt(text.c_str()) || IsBinaryInt(text.c_str())));
    FUZZ_CHECK(value == (isNumber ? ValueOf(text) : UNTOUCHED));
    FUZZ_CHECK(GetUIntValue(text.c_str()) == (isNumber ? value : 0));
    FUZZ_CHECK(GetIntValue(text.c_str()) == static_cast<int>(GetUIntValue(text.c_str())));
    FUZZ_CHECK(!IsDecInt(text.c_str()) || IsRealNumber(text.c_str()));
}

void CheckDateTime(const std::string& text) {
    const std::string shown = CDateTimeHolder(text.c_str()).AsText();
    const std::string again = CDateTimeHolder(shown.c_str()).AsText();
    // A time of day is shown, and is no input.
    FUZZ_CHECK(again == (shown.find('@') == std::string::npos ? "00:00:00.000" : shown));
}

void CheckHexColumn(unsigned int value, unsigned char width) {
    std::vector<char> room(std::max<std::size_t>(width, 8) + 3);
    FUZZ_CHECK(UIntToHex(value, room.data(), width, true) == room.data());
    const std::string digits = room.data() + std::strspn(room.data() + 2, " ") + 2;
    FUZZ_CHECK(GetUIntValue(("0x" + digits).c_str()) == value);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = UpToNul({data, data + size});
    CheckInteger(text);
    CheckDateTime(text);
    CheckHexColumn(GetUIntValue(text.c_str()), static_cast<unsigned char>(size));
    return 0;
}
