#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "util/Finding.h"

// What is wrong with an HCD file; see image/ImageFindings.h.
std::vector<CFinding> FindInHcdFile(std::FILE* file, const std::string& name);
