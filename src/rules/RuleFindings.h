#pragma once

#include <string>
#include <vector>

#include "util/Finding.h"

// Looks for parameters that have no effect in one set of a VNP file: those that nobody reads, with
// the name that is probably meant, those that are repeated or empty, and values that the download
// does not understand. path is "file" or "file@set"; a file that is not a VNP file has no findings
// but what it is instead. isCustom: the set of a custom download.
std::vector<CFinding> FindInRules(const std::string& path, bool isCustom);
