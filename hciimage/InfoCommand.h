#pragma once

#include <string>

#include "hciimage/ImageArguments.h"

// Prints what is in each file. The error text, empty on success.
std::string PrintInfo(const IMAGE_ARGUMENTS& arguments);
