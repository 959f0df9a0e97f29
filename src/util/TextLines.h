#pragma once

#include <cstdio>
#include <string>
#include <string_view>

// Trims texts, reads lines, recognises quotes. White space is what isspace knows in the standard
// locale: blank, tab, line feed, vertical tab, form feed, carriage return.
bool IsWhiteSpace(char character);

// The stretch without white space at its ends; empty when there is nothing else.
std::string_view TrimmedView(std::string_view stretch);

// The stretch from first to last (both included, up to a NUL) without white space at its ends.
// Empty for a null pointer and for first after last. A stretch of nothing but white space yields
// its last character, so that a setting whose value is blank stays set.
std::string ExtractTrimmedString(const char* first, const char* last, bool toUpperCase);
std::string ExtractTrimmedString(std::string_view stretch, bool toUpperCase);

inline constexpr unsigned int CLEAN_LINE_ROOM = 500;

// Reads the next line that is not empty without its comment (from the first commentChar outside
// double quotes) and the white space at its ends. buf has room for CLEAN_LINE_ROOM characters;
// longer lines come in pieces of CLEAN_LINE_ROOM - 1. Adds 1 to *lineNumber (may be null) for each
// piece read. Returns buf, or null at the end of the file.
char* ReadNextCleanLine(char* buf, std::FILE* file, long* lineNumber, char commentChar);

// Whether the path opens for reading and is no directory.
bool DoesFileExist(const char* path);

// True for at least two characters of which the first and the last are the quote.
bool IsSingleQuoted(const char* text);
bool IsDoubleQuoted(const char* text);
