#pragma once

#include "image/HcdFindings.h"
#include "image/HexFindings.h"
#include "image/NcdFindings.h"

// These look for what is wrong with an image file: what the loader refuses, with its place, and
// what it takes without a word and loads in another way than is meant. The file can be read again
// from its start; it is left wherever the reading ended.

// As Intel HEX or as HCD, whichever the loader reads or the file looks like.
std::vector<CFinding> FindInHexOrHcdFile(std::FILE* file, const std::string& name);
