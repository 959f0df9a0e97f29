#pragma once

#include <string>

#include "hciimage/ImageArguments.h"

// Draws where the bytes of all files lie. The error text, empty on success.
std::string DrawMap(const IMAGE_ARGUMENTS& arguments);
