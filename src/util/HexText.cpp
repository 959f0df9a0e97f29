#include "util/HexText.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>

#include "util/TextLines.h"

namespace {

// Where parsed bytes go: to out, at most maxBytes of them, or nowhere if out is null.
struct BYTE_OUTPUT {
    unsigned char* out;
    unsigned int maxBytes;
    unsigned int* count;

    bool Add(int value) {
        if (value < 0 || (out != nullptr && *count >= maxBytes)) {
            return false;
        }
        if (out != nullptr) {
            out[*count] = static_cast<unsigned char>(value);
        }
        ++*count;
        return true;
    }
};

// Reads the token at cursor and moves past it. -1 for a token that is no byte.
int ParseByteToken(const char*& cursor) {
    int value = 0;
    bool hasDigit = false;
    bool hasMark = false;
    for (int position = 0; *cursor != '\0' && !IsWhiteSpace(*cursor); ++cursor, ++position) {
        if ((*cursor == 'x' || *cursor == 'X') && position < 2 && value == 0 && !hasMark) {
            hasMark = true;
            continue;
        }
        const int digit = HexDigitValue(*cursor);
        value = value * 16 + digit;
        if (digit < 0 || value > 0xFF) {
            return -1;
        }
        hasDigit = true;
    }
    return hasDigit ? value : -1;
}

int RandomDigit() {
    thread_local std::minstd_rand generator{std::random_device{}()};
    return std::uniform_int_distribution<int>(0, 15)(generator);
}

}  // namespace

bool ParseHexBytesFromString(const char* text, unsigned char* out, unsigned int maxBytes,
                             unsigned int* count) {
    *count = 0;
    BYTE_OUTPUT output{out, maxBytes, count};
    for (const char* cursor = text; cursor != nullptr && *cursor != '\0';) {
        if (IsWhiteSpace(*cursor)) {
            ++cursor;
        } else if (!output.Add(ParseByteToken(cursor))) {
            return false;
        }
    }
    return *count > 0;
}

bool ParseHexBytesWithoutDelimiters(const char* text, unsigned char* out, unsigned int maxBytes,
                                    unsigned int* count, char wildcard) {
    *count = 0;
    BYTE_OUTPUT output{out, maxBytes, count};
    int highDigit = -1;
    for (const char* cursor = text; cursor != nullptr && *cursor != '\0'; ++cursor) {
        const int digit = *cursor == wildcard ? RandomDigit() : HexDigitValue(*cursor);
        if (digit < 0) {
            return false;
        }
        if (highDigit < 0) {
            highDigit = digit;
        } else if (output.Add(highDigit * 16 + digit)) {
            highDigit = -1;
        } else {
            return false;
        }
    }
    return *count > 0;
}

char HexDigit(unsigned char value) {
    return "0123456789ABCDEF"[value & 0x0FU];
}

char* PutHexBytes(char* out, std::span<const unsigned char> bytes) {
#if defined(__SSE2__)
    // Sixteen bytes at a time: digits above 9 lie seven characters further on.
    const __m128i mask = _mm_set1_epi8(0x0F);
    const auto digits = [mask](__m128i values) {
        const __m128i low = _mm_and_si128(values, mask);
        const __m128i isLetter = _mm_cmpgt_epi8(low, _mm_set1_epi8(9));
        return _mm_add_epi8(_mm_add_epi8(low, _mm_set1_epi8('0')),
                            _mm_and_si128(isLetter, _mm_set1_epi8('A' - '9' - 1)));
    };
    for (; bytes.size() >= 16; bytes = bytes.subspan(16), out += 32) {
        const __m128i values = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes.data()));
        const __m128i high = digits(_mm_srli_epi16(values, 4));
        const __m128i low = digits(values);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi8(high, low));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 16), _mm_unpackhi_epi8(high, low));
    }
#endif
    for (const unsigned char byte : bytes) {
        out = PutHexByte(out, byte);
    }
    return out;
}

void AppendHexByte(std::string& text, unsigned char byte) {
    text += HexDigit(static_cast<unsigned char>(byte >> 4U));
    text += HexDigit(byte);
}

unsigned int BytesToHexString(const unsigned char* bytes, unsigned int n, std::string& out,
                              char separator, bool withPrefix) {
    if (bytes == nullptr || n == 0) {
        return 0;
    }
    out.clear();
    out.reserve(std::size_t{n} * (withPrefix ? 5 : 3));
    for (unsigned int i = 0; i < n; ++i) {
        if (i > 0) {
            out += separator;
        }
        if (withPrefix) {
            out += "0x";
        }
        AppendHexByte(out, bytes[i]);
    }
    return static_cast<unsigned int>(out.size());
}

void ConcatHexBytesToString(std::string& str, const unsigned char* bytes, int n, int maxShown) {
    if (bytes == nullptr) {
        return;
    }
    const bool cut = maxShown >= 1 && n > maxShown;
    const int shown = cut ? maxShown : n;
    for (int i = 0; i < shown; ++i) {
        str += ' ';
        AppendHexByte(str, bytes[i]);
    }
    if (cut) {
        str += " ...";
    }
}

char* ConcatHexBytesToString(char* str, const unsigned char* bytes, int n, int maxShown) {
    if (str != nullptr) {
        std::string appended;
        ConcatHexBytesToString(appended, bytes, n, maxShown);
        std::memcpy(str + std::strlen(str), appended.c_str(), appended.size() + 1);
    }
    return str;
}

char* UIntToHex(unsigned int value, char* out, unsigned char width, bool withPrefix) {
    if (out != nullptr) {
        const std::size_t room = std::max<std::size_t>(width, 8) + 3;
        std::snprintf(out, room, "%s%*X", withPrefix ? "0x" : "", static_cast<int>(width), value);
    }
    return out;
}
