#pragma once

#include <string>

// Lists of bytes as hexadecimal text, read and written.

// Byte tokens separated by white space (1F, 0x1F, x1F, 001F). out may be null to count only.
// False for a token above 255, any other character, more than maxBytes tokens, or no token at all.
bool ParseHexBytesFromString(const char* text, unsigned char* out, unsigned int maxBytes,
                             unsigned int* count);

// An unbroken run of digits, two to a byte; wildcard stands for a digit taken at random. An odd
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

// Appends two upper-case digits.
void AppendHexByte(std::string& text, unsigned char byte);

// Two upper-case digits for each byte, joined by separator, each with "0x" in front when withPrefix
// is set. Returns the length; 0, with out left alone, for null bytes or n = 0.
unsigned int BytesToHexString(const unsigned char* bytes, unsigned int n, std::string& out,
                              char separator, bool withPrefix);

// Appends to str, for each byte, a blank and two upper-case digits; when maxShown is at least 1 and
// n exceeds it, only that many and then " ...". The caller's room must hold 3 * n + 5 more
// characters. Returns str.
char* ConcatHexBytesToString(char* str, const unsigned char* bytes, int n, int maxShown);

// The same for a std::string, which grows as needed.
void ConcatHexBytesToString(std::string& str, const unsigned char* bytes, int n, int maxShown);

// "0x" (when withPrefix is set) and the value in upper-case digits, right-aligned in width and
// padded with blanks. out needs room for max(width, 8) + 3 characters. Returns out, null for null.
char* UIntToHex(unsigned int value, char* out, unsigned char width, bool withPrefix);
