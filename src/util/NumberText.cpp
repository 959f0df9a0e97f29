#include "util/NumberText.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "util/HexText.h"
#include "util/Wrap32.h"

namespace {

bool IsDecDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsBinaryDigit(char c) {
    return c == '0' || c == '1';
}

bool IsHexDigit(char c) {
    return HexDigitValue(c) >= 0;
}

bool AllDigits(std::string_view text, bool (*isDigit)(char)) {
    return !text.empty() && std::all_of(text.begin(), text.end(), isDigit);
}

bool IsPrefixed(const char* text, char lower, char upper, bool (*isDigit)(char)) {
    if (text == nullptr || text[0] != '0' || (text[1] != lower && text[1] != upper)) {
        return false;
    }
    return AllDigits(text + 2, isDigit);
}

// Modulo 2^32, so that a wider number keeps its low 32 bits on every platform.
unsigned int ScanDigits(std::string_view digits, unsigned int radix) {
    unsigned int value = 0;
    for (const char c : digits) {
        value = WrappingAdd(WrappingMultiply(value, radix),
                            static_cast<unsigned int>(HexDigitValue(c)));
    }
    return value;
}

unsigned int ScanDecimal(const char* text) {
    return *text == '-' ? WrappingSubtract(0, ScanDigits(text + 1, 10)) : ScanDigits(text, 10);
}

}  // namespace

bool IsDecInt(const char* text) {
    return text != nullptr && AllDigits(*text == '-' ? text + 1 : text, IsDecDigit);
}

bool IsHexInt(const char* text) {
    return IsPrefixed(text, 'x', 'X', IsHexDigit);
}

bool IsBinaryInt(const char* text) {
    return IsPrefixed(text, 'b', 'B', IsBinaryDigit);
}

unsigned int ScanBinaryUInt(const char* text) {
    return IsBinaryInt(text) ? ScanDigits(text + 2, 2) : 0;
}

int ScanBinaryInt(const char* text) {
    return static_cast<int>(ScanBinaryUInt(text));
}

bool TryToGetUIntValue(const char* text, unsigned int* value) {
    if (IsDecInt(text)) {
        *value = ScanDecimal(text);
    } else if (IsHexInt(text)) {
        *value = ScanDigits(text + 2, 16);
    } else if (IsBinaryInt(text)) {
        *value = ScanBinaryUInt(text);
    } else {
        return false;
    }
    return true;
}

bool TryToGetIntValue(const char* text, int* value) {
    unsigned int bits = 0;
    if (!TryToGetUIntValue(text, &bits)) {
        return false;
    }
    *value = static_cast<int>(bits);
    return true;
}

unsigned int GetUIntValue(const char* text) {
    unsigned int value = 0;
    TryToGetUIntValue(text, &value);
    return value;
}

int GetIntValue(const char* text) {
    return static_cast<int>(GetUIntValue(text));
}

bool IsRealNumber(const char* text) {
    double ignored = 0;
    return TryToGetRealValue(text, &ignored);
}

bool TryToGetRealValue(const char* text, double* value) {
    if (text == nullptr) {
        return false;
    }
    char* end = nullptr;
    const double number = std::strtod(text, &end);
    if (end == text) {
        return false;
    }
    *value = number;
    return true;
}

double GetRealValue(const char* text) {
    double value = 0;
    TryToGetRealValue(text, &value);
    return value;
}
