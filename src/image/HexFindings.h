#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "util/Finding.h"

// What is wrong with an Intel HEX file; see image/ImageFindings.h.
std::vector<CFinding> FindInHexFile(std::FILE* file, const std::string& name);
