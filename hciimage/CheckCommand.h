#pragma once

#include <string>

#include "hciimage/ImageArguments.h"

// Prints what is wrong with each file. The error text, empty on success; *status becomes 0 for
// nothing found, 1 for warnings, 2 for errors.
std::string CheckFiles(const IMAGE_ARGUMENTS& arguments, int* status);
