#include "corekit/intelhex/FastHexDecoder.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#include "corekit/intelhex/IntelHexBasics.h"
#include "util/HexText.h"

// Part of every x86-64, so nothing is chosen at run time. Other processors, and the rest of a
// record, use the table of pairs.
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

constexpr std::size_t HEAD_SIZE = 9;       // ":", count, address, type
constexpr std::size_t SHORTEST_TEXT = 12;  // no data, a checksum, a line feed

// The byte that two digits make, indexed by both characters at once; VALID is set for digits only.
using PairTable = std::array<std::uint16_t, 65536>;
constexpr std::uint16_t VALID = 0x100;

constexpr PairTable MakePairTable() {
    PairTable table{};
    constexpr bool littleEndian = std::endian::native == std::endian::little;
    for (int first = '0'; first <= 'f'; ++first) {
        for (int second = '0'; second <= 'f'; ++second) {
            if (HexDigitValue(first) < 0 || HexDigitValue(second) < 0) {
                continue;
            }
            const int index = littleEndian ? second << 8 | first : first << 8 | second;
            table[static_cast<std::size_t>(index)] = static_cast<std::uint16_t>(
                VALID | HexDigitValue(first) << 4 | HexDigitValue(second));
        }
    }
    return table;
}

constexpr PairTable g_Pairs = MakePairTable();

unsigned int Pair(const char* text) {
    std::uint16_t index = 0;
    std::memcpy(&index, text, sizeof index);
    return g_Pairs[index];
}

#if defined(__SSE2__)

constexpr unsigned int GROUP_SIZE = 16;  // bytes

// The values of 16 digits. In errors, the top bit of every character that is no digit is set.
__m128i DigitValues(__m128i text, __m128i& errors) {
    // '0' to '9' move to the top of the range, where a saturated subtraction separates them from
    // all below, and from there to 0 to 9; everything else ends up above 9.
    const __m128i high = _mm_add_epi8(text, _mm_set1_epi8(static_cast<char>(0xFF - '9')));
    const __m128i digits =
        _mm_sub_epi8(_mm_subs_epu8(high, _mm_set1_epi8(6)), _mm_set1_epi8(static_cast<char>(0xF0)));
    // Letters of both cases move to 10 to 15, everything else above; the sum saturates at 255.
    const __m128i upper = _mm_and_si128(text, _mm_set1_epi8(static_cast<char>(0xDF)));
    const __m128i letters =
        _mm_adds_epu8(_mm_sub_epi8(upper, _mm_set1_epi8('A')), _mm_set1_epi8(10));
    const __m128i values = _mm_min_epu8(digits, letters);
    errors = _mm_or_si128(errors, _mm_adds_epu8(values, _mm_set1_epi8(127 - 15)));
    return values;
}

// Joins the two values in each 16 bits, the higher digit first.
__m128i JoinPairs(__m128i values) {
    const __m128i joined = _mm_or_si128(_mm_slli_epi16(values, 4), _mm_srli_epi16(values, 8));
    return _mm_and_si128(joined, _mm_set1_epi16(0xFF));
}

// Decodes GROUP_SIZE bytes and adds them to sum; VALID in the result as from Pair.
unsigned int DecodeGroup(const char* text, unsigned char* out, unsigned int& sum) {
    const auto* chars = reinterpret_cast<const __m128i*>(text);
    __m128i errors = _mm_setzero_si128();
    const __m128i first = JoinPairs(DigitValues(_mm_loadu_si128(chars), errors));
    const __m128i second = JoinPairs(DigitValues(_mm_loadu_si128(chars + 1), errors));
    const __m128i bytes = _mm_packus_epi16(first, second);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), bytes);
    const __m128i sums = _mm_sad_epu8(bytes, _mm_setzero_si128());
    sum += static_cast<unsigned int>(_mm_cvtsi128_si32(sums) + _mm_extract_epi16(sums, 4));
    return _mm_movemask_epi8(errors) == 0 ? VALID : 0;
}

#endif

std::size_t LineEndSize(const char* text, std::size_t available) {
    if (available >= 1 && text[0] == '\n') {
        return 1;
    }
    if (available >= 2 && text[0] == '\r' && text[1] == '\n') {
        return 2;
    }
    return 0;
}

// Decodes count bytes into out and adds them to sum; VALID in the result as from Pair.
inline unsigned int DecodeBytes(const char* digits, unsigned int count, unsigned char* out,
                                unsigned int& sum) {
    unsigned int valid = VALID;
    unsigned int i = 0;
#if defined(__SSE2__)
    for (; i + GROUP_SIZE <= count; i += GROUP_SIZE) {
        valid &= DecodeGroup(digits + std::size_t{2} * i, out + i, sum);
    }
#endif
    for (; i < count; ++i) {
        const unsigned int value = Pair(digits + std::size_t{2} * i);
        out[i] = static_cast<unsigned char>(value);
        valid &= value;
        sum += value;
    }
    return valid;
}

std::size_t DigitsEnd(unsigned int count) {
    return HEAD_SIZE + 2 * (std::size_t{count} + 1);
}

// Decodes what follows the head, whose bytes sum up to sum. The size of the line end, or 0 if the
// record is not in the standard form; valid is the head's part of that.
inline std::size_t DecodeBody(const char* text, std::size_t available, unsigned int count,
                              unsigned int valid, unsigned int sum, unsigned char* out) {
    valid &= DecodeBytes(text + HEAD_SIZE, count, out, sum);
    const std::size_t end = DigitsEnd(count);
    const unsigned int checksum = Pair(text + end - 2);
    const bool isGood = (valid & checksum & VALID) != 0 && ((sum + checksum) & 0xFF) == 0;
    return isGood ? LineEndSize(text + end, available - end) : 0;
}

}  // namespace

bool DecodeRecordFast(const char* text, std::size_t available, FastHexRecord& record,
                      unsigned char* out) {
    if (available < SHORTEST_TEXT || text[0] != ':') {
        return false;
    }
    const unsigned int count = Pair(text + 1);
    const unsigned int high = Pair(text + 3);
    const unsigned int low = Pair(text + 5);
    const unsigned int type = Pair(text + 7);
    record.count = count & 0xFF;
    record.address = (high & 0xFF) << 8 | (low & 0xFF);
    record.type = type & 0xFF;
    // The full rules know the spellings of the end record apart.
    if (DigitsEnd(record.count) >= available || record.type == INTEL_HEX_END_OF_FILE ||
        !IsKnownHexRecordType(record.type)) {
        return false;
    }
    const std::size_t lineEnd = DecodeBody(text, available, record.count, count & high & low & type,
                                           count + high + low + type, out);
    record.textSize = DigitsEnd(record.count) + lineEnd;
    return lineEnd != 0;
}

// The size of each record is known before it is looked at, so the processor need not wait for one
// record to find the next.
unsigned int DecodeFollowingRecordsFast(const char* text, std::size_t available,
                                        const FastHexRecord& first, unsigned int limit,
                                        unsigned char* out) {
    const unsigned int count = first.count;
    if (first.type != INTEL_HEX_DATA || count == 0) {
        return 0;
    }
    const char* const firstText = text;
    const std::size_t lineEnd = first.textSize - DigitsEnd(count);
    unsigned int taken = 0;
    for (; taken < limit; ++taken, out += count) {
        text += first.textSize;
        available -= first.textSize;
        // Past 0xFFFF it is equal to none that a record can name.
        const unsigned int address = first.address + (taken + 1) * count;
        if (available < first.textSize || std::memcmp(text, firstText, 3) != 0 || text[7] != '0' ||
            text[8] != '0') {
            break;
        }
        const unsigned int high = Pair(text + 3);
        const unsigned int low = Pair(text + 5);
        if (((high & 0xFF) << 8 | (low & 0xFF)) != address ||
            DecodeBody(text, available, count, high & low, count + high + low, out) != lineEnd) {
            break;
        }
    }
    return taken;
}
