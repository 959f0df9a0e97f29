#include "FuzzInput.h"
#include "util/DateTimeHolder.h"
#include "util/HexText.h"
#include "util/NumberText.h"

// Numbers and lists of hexadecimal bytes in every notation, and dates with times.

namespace {

void CheckInteger(const std::string& text) {
    constexpr unsigned int UNTOUCHED = 0xA5A5A5A5U;
    const char* const chars = text.c_str();
    unsigned int value = UNTOUCHED;
    const bool isNumber = TryToGetUIntValue(chars, &value);
    FUZZ_CHECK(isNumber == (IsDecInt(chars) || IsHexInt(chars) || IsBinaryInt(chars)));
    FUZZ_CHECK(isNumber || value == UNTOUCHED);
    if (isNumber && !IsBinaryInt(chars) && text.size() <= 10) {
        const long long number = std::stoll(text, nullptr, IsHexInt(chars) ? 16 : 10);
        FUZZ_CHECK(value == static_cast<std::uint32_t>(number & 0xFFFFFFFF));
    }
    FUZZ_CHECK(!IsDecInt(chars) || IsRealNumber(chars));
    char room[300];
    const std::string column =
        UIntToHex(value, room, static_cast<unsigned char>(text.size()), false);
    const std::string digits = column.substr(column.find_first_not_of(' '));
    FUZZ_CHECK(GetUIntValue(("0x" + digits).c_str()) == value);
}

void CheckDateTime(const std::string& text) {
    const std::string shown = CDateTimeHolder(text.c_str()).AsText();
    const std::string again = CDateTimeHolder(shown.c_str()).AsText();
    // A time of day is shown, and is no input.
    FUZZ_CHECK(again == (shown.find('@') == std::string::npos ? "00:00:00.000" : shown));
}

// What the reader stores lies within the limit, agrees with its count and with counting alone.
template <typename READER>
void CheckLimits(const READER& read) {
    constexpr unsigned char UNTOUCHED = 0xA5;
    unsigned int total = 0;
    const bool isList = read(nullptr, 0, &total);
    for (const unsigned int limit : {total, total / 2}) {
        Bytes bytes(limit + 1, UNTOUCHED);
        unsigned int count = 0;
        FUZZ_CHECK(read(bytes.data(), limit, &count) == (isList && total <= limit));
        FUZZ_CHECK(count == limit && bytes[limit] == UNTOUCHED);
    }
}

void CheckWayBack(const Bytes& bytes) {
    const auto size = static_cast<unsigned int>(bytes.size());
    Bytes again(bytes.size());
    unsigned int count = 0;
    for (const bool withPrefix : {false, true}) {
        std::string text;
        FUZZ_CHECK(BytesToHexString(bytes.data(), size, text, ' ', withPrefix) == text.size());
        FUZZ_CHECK(ParseHexBytesFromString(text.c_str(), again.data(), size, &count) ==
                   !bytes.empty());
        FUZZ_CHECK(count == size && again == bytes);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = UpToNul({data, data + size});
    CheckInteger(text);
    CheckDateTime(text);
    CheckLimits([&](unsigned char* out, unsigned int room, unsigned int* count) {
        return ParseHexBytesFromString(text.c_str(), out, room, count);
    });
    CheckLimits([&](unsigned char* out, unsigned int room, unsigned int* count) {
        return ParseHexBytesWithoutDelimiters(text.c_str(), out, room, count, '*');
    });
    CheckWayBack({data, data + size});
    return 0;
}
