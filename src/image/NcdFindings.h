#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "util/Finding.h"

// What is wrong with an NCD file; see image/ImageFindings.h.
std::vector<CFinding> FindInNcdFile(std::FILE* file, const std::string& name);
