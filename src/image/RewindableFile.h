#pragma once

#include "util/FileHandle.h"

// Opens a file for readers of several formats, each of which rewinds it first. A file that cannot
// be rewound, such as a pipe, is read to its end and kept in a temporary file. Empty when the file
// does not open or is too large to keep.
CFileHandle OpenRewindable(const char* path);
