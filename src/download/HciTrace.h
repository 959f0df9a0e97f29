#pragma once

#include <atomic>
#include <cstdio>
#include <string>

// Byte strings as text, for the trace stream and for status lines.

// Where traces go; null when tracing is off. Not owned: whoever set it takes it away before closing
// the stream. Set before a download thread starts, written by that thread.
extern std::atomic<FILE*> fDebugPrint;

// One entry in the trace stream, if there is one: time and label (null counts as empty), then, for
// non-null bytes and a count above 0, a line with at most 32 of the bytes.
void DebugOut(const char* label, const unsigned char* bytes, unsigned int count);

// "label (count bytes): 01 02 ..." on one line; above maxShown bytes only the first and the last
// maxShown / 2 with " ... " between them.
std::string ShowBytesString(const char* label, const unsigned char* bytes, unsigned int count,
                            unsigned int maxShown);

// Writes a blank and two upper-case digits at the cursor and moves it on by 3; no terminator.
void AppendSpaceAndHexByte(char** cursor, unsigned char value);
