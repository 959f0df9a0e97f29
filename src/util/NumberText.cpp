#include "util/NumberText.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "util/HexText.h"
#include "util/Wrap32.h"

namespace {

bool AllDigits(std::string_view text, int radix) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [radix](char c) {
        return HexDigitValue(c) >= 0 && HexDigitValue(c) < radix;
    });
}

bool IsPrefixed(const char* text, char lower, char upper, int radix) {
    return text != nullptr && text[0] == '0' && (text[1] == lower || text[1] == upper) &&
           AllDigits(text + 2, radix);
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

}  // namespace

bool IsDecInt(const char* text) {
    return text != nullptr && AllDigits(*text == '-' ? text + 1 : text, 10);
}

bool IsHexInt(const char* text) {
    return IsPrefixed(text, 'x', 'X', 16);
}

bool IsBinaryInt(const char* text) {
    return IsPrefixed(text, 'b', 'B', 2);
}

unsigned int ScanBinaryUInt(const char* text) {
    return IsBinaryInt(text) ? ScanDigits(text + 2, 2) : 0;
}

bool TryToGetUIntValue(const char* text, unsigned int* value) {
    if (IsDecInt(text)) {
        *value =
            *text == '-' ? WrappingSubtract(0, ScanDigits(text + 1, 10)) : ScanDigits(text, 10);
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
    return TryToGetUIntValue(text, reinterpret_cast<unsigned int*>(value));
}

unsigned int GetUIntValue(const char* text) {
    unsigned int value = 0;
    TryToGetUIntValue(text, &value);
    return value;
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
    if (end != text) {
        *value = number;
    }
    return end != text;
}

double GetRealValue(const char* text) {
    double value = 0;
    TryToGetRealValue(text, &value);
    return value;
}
