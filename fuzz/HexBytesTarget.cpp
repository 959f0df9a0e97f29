#include <cstring>

#include "FuzzInput.h"
#include "util/HexText.h"

// Both readers of hexadecimal byte lists, with every limit, and the way back from bytes to text.

namespace {

constexpr unsigned char UNTOUCHED = 0xA5;

// What the reader stores lies within the limit, agrees with its count and with counting alone.
template <typename READER>
void CheckLimits(const READER& read, unsigned int limit) {
    unsigned int total = 0;
    const bool countable = read(nullptr, 0U, &total);
    std::vector<unsigned char> bytes(limit + 1, UNTOUCHED);
    unsigned int count = 0;
    const bool stored = read(bytes.data(), limit, &count);
    FUZZ_CHECK(count <= limit);
    FUZZ_CHECK(bytes[limit] == UNTOUCHED);
    FUZZ_CHECK(stored == (countable && total <= limit));
    FUZZ_CHECK(!stored || count == total);
}

void CheckWayBack(const std::vector<unsigned char>& bytes) {
    const auto size = static_cast<unsigned int>(bytes.size());
    std::vector<unsigned char> again(bytes.size());
    unsigned int count = 0;
    for (const bool withPrefix : {false, true}) {
        std::string text;
        const unsigned int length = BytesToHexString(bytes.data(), size, text, ' ', withPrefix);
        FUZZ_CHECK(length == text.size());
        FUZZ_CHECK(ParseHexBytesFromString(text.c_str(), again.data(), size, &count) ==
                   !bytes.empty());
        FUZZ_CHECK(count == size && again == bytes);
    }
    std::string unbroken;
    for (const unsigned char byte : bytes) {
        unbroken += HexDigit(static_cast<unsigned char>(byte >> 4));
        unbroken += HexDigit(byte);
    }
    FUZZ_CHECK(ParseHexBytesWithoutDelimiters(unbroken.c_str(), again.data(), size, &count, '*') ==
               !bytes.empty());
    FUZZ_CHECK(count == size && again == bytes);
}

void CheckShown(const std::vector<unsigned char>& bytes, int maxShown) {
    const auto size = static_cast<int>(bytes.size());
    std::vector<char> text(3 * bytes.size() + 16, 'x');
    std::memcpy(text.data(), "label:", 7);
    ConcatHexBytesToString(text.data(), bytes.data(), size, maxShown);
    const bool cut = maxShown >= 1 && size > maxShown;
    const std::size_t shown = static_cast<std::size_t>(cut ? maxShown : size);
    FUZZ_CHECK(std::strlen(text.data()) == 6 + 3 * shown + (cut ? 4 : 0));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CFuzzInput input(data, size);
    const unsigned int limit = input.TakeByte();
    const std::string text = input.TakeRestAsText();
    CheckLimits(
        [&](unsigned char* out, unsigned int room, unsigned int* count) {
            return ParseHexBytesFromString(text.c_str(), out, room, count);
        },
        limit);
    CheckLimits(
        [&](unsigned char* out, unsigned int room, unsigned int* count) {
            return ParseHexBytesWithoutDelimiters(text.c_str(), out, room, count, '*');
        },
        limit);
    const std::vector<unsigned char> bytes(text.begin(), text.end());
    CheckWayBack(bytes);
    CheckShown(bytes, static_cast<int>(limit) - 1);
    return 0;
}
