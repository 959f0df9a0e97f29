#pragma once

#include <array>
#include <cstring>
#include <span>
#include <string>

// Bytes as hexadecimal text.

// Reads byte tokens separated by white space (1F, 0x1F, x1F, 001F). out may be null to count only.
// False for a token above 255, any other character, more than maxBytes tokens, or no token at all.
bool ParseHexBytesFromString(const char* text, unsigned char* out, unsigned int maxBytes,
                             unsigned int* count);

// Reads digits without separators, two for each byte; wildcard stands for a random digit. An odd
// last digit is dropped.
bool ParseHexBytesWithoutDelimiters(const char* text, unsigned char* out, unsigned int maxBytes,
                                    unsigned int* count, char wildcard);

// The digit of the low four bits, '0' to '9' and 'A' to 'F'.
char HexDigit(unsigned char value);

// The value of a digit of either case; -1 for any other character.
constexpr int HexDigitValue(int character) {
    if (character >= '0' && character <= '9') {
        return character - '0';
    }
    const int letter = character | 0x20;
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

// Writes two upper-case digits and returns their end. For texts of many bytes.
inline char* PutHexByte(char* out, unsigned char byte) {
    static constexpr auto PAIRS = [] {
        std::array<std::array<char, 2>, 256> pairs{};
        for (unsigned int i = 0; i < pairs.size(); ++i) {
            pairs[i] = {"0123456789ABCDEF"[i >> 4], "0123456789ABCDEF"[i & 0xF]};
        }
        return pairs;
    }();
    std::memcpy(out, PAIRS[byte].data(), 2);
    return out + 2;
}

// The same for many bytes.
char* PutHexBytes(char* out, std::span<const unsigned char> bytes);

// Appends two upper-case digits.
void AppendHexByte(std::string& text, unsigned char byte);

// Writes two upper-case digits for each byte, after "0x" when withPrefix is set, with separator
// between the bytes. Returns the length; 0, with out left alone, for null bytes or n = 0.
unsigned int BytesToHexString(const unsigned char* bytes, unsigned int n, std::string& out,
                              char separator, bool withPrefix);

// Appends a blank and two upper-case digits for each byte; with maxShown at least 1 and n above it,
// only maxShown bytes and then " ...". str must have room for 3 * n + 5 more characters. Returns
// str.
char* ConcatHexBytesToString(char* str, const unsigned char* bytes, int n, int maxShown);

// The same for a std::string.
void ConcatHexBytesToString(std::string& str, const unsigned char* bytes, int n, int maxShown);

// Writes "0x" (when withPrefix is set) and the value in upper-case digits, right-aligned in width
// and padded with blanks. out needs room for max(width, 8) + 3 characters. Returns out, which may
// be null.
char* UIntToHex(unsigned int value, char* out, unsigned char width, bool withPrefix);
