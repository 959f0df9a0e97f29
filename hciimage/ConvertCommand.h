#pragma once

#include <string>

#include "hciimage/ImageArguments.h"

// Makes one file of several. The error text, empty on success.
std::string Convert(const IMAGE_ARGUMENTS& arguments);
