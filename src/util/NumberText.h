#pragma once

// Reads numbers as they are written everywhere in this system: decimal with an optional leading
// '-', 0x hexadecimal, 0b binary; no '+', no blanks. A null text is not a number.

bool IsDecInt(const char* text);
bool IsHexInt(const char* text);
bool IsBinaryInt(const char* text);

// The value of a binary text modulo 2^32; 0 when the text is not binary.
unsigned int ScanBinaryUInt(const char* text);
inline int ScanBinaryInt(const char* text) {
    return static_cast<int>(ScanBinaryUInt(text));
}

// False leaves *value unchanged. "-1" reads as 0xFFFFFFFF; wider numbers keep their low 32 bits.
bool TryToGetUIntValue(const char* text, unsigned int* value);
bool TryToGetIntValue(const char* text, int* value);

// The value, or 0 when the text is not a number.
unsigned int GetUIntValue(const char* text);
inline int GetIntValue(const char* text) {
    return static_cast<int>(GetUIntValue(text));
}

// For texts that start with a floating-point number, as strtod reads it.
bool IsRealNumber(const char* text);
bool TryToGetRealValue(const char* text, double* value);
double GetRealValue(const char* text);
