#pragma once

#include "util/FileHandle.h"

// Opens a file for readers of several formats, each of which rewinds it first. A file that cannot
// be rewound, such as a pipe, is read to its end and kept in a temporary file. Empty, with
// the reason in errno, when the file does not open; with 0 in errno when it cannot be kept.
CFileHandle OpenRewindable(const char* path);
