#pragma once

// Number syntax of the whole system: decimal with an optional leading '-', 0x hexadecimal, 0b
// binary; no '+', no blanks. A null text is never a number.

bool IsDecInt(const char* text);
bool IsHexInt(const char* text);
bool IsBinaryInt(const char* text);

// The value of a binary text modulo 2^32; 0 when the text is not binary.
unsigned int ScanBinaryUInt(const char* text);
int ScanBinaryInt(const char* text);

// False leaves *value untouched. "-1" reads as 0xFFFFFFFF; wider numbers keep their low 32 bits.
bool TryToGetUIntValue(const char* text, unsigned int* value);
bool TryToGetIntValue(const char* text, int* value);

// The value, or 0 when the text is not a number.
unsigned int GetUIntValue(const char* text);
int GetIntValue(const char* text);

// A text that starts with a floating-point number in the standard notation.
bool IsRealNumber(const char* text);
bool TryToGetRealValue(const char* text, double* value);
double GetRealValue(const char* text);
