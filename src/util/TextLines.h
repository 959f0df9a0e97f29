#pragma once

#include <cstdio>
#include <string>
#include <string_view>

// Trimming, quotes and lines: what every reader of a text file shares. White space is what isspace
// knows in the standard locale: blank, tab, line feed, vertical tab, form feed, carriage return.
bool IsWhiteSpace(char character);

// The stretch without white space at either end; empty when there is nothing else.
std::string_view TrimmedView(std::string_view stretch);

// The stretch from first to last (both included, up to a NUL) without white space at either end.
// Empty for a null pointer and for first behind last. A stretch of nothing but white space yields
// its last character, kept that way on purpose: a setting whose value is blank stays set.
std::string ExtractTrimmedString(const char* first, const char* last, bool toUpperCase);
std::string ExtractTrimmedString(std::string_view stretch, bool toUpperCase);

inline constexpr unsigned int CLEAN_LINE_ROOM = 500;

// The next line that is not empty once white space at both ends and everything from the first
// commentChar outside double quotes are gone. buf has room for CLEAN_LINE_ROOM characters; longer
// lines come in pieces of CLEAN_LINE_ROOM - 1. Adds 1 to *lineNumber (may be null) for each piece
// read. Returns buf, or null at the end of the file.
char* ReadNextCleanLine(char* buf, std::FILE* file, long* lineNumber, char commentChar);

// Whether the path names something that opens for reading; a directory does not count.
bool DoesFileExist(const char* path);

// At least two characters, the first and the last of them the quote.
bool IsSingleQuoted(const char* text);
bool IsDoubleQuoted(const char* text);
