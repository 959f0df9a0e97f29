#include "util/HexText.h"

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
