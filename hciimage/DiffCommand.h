#pragma once

#include <string>

#include "hciimage/ImageArguments.h"

// Prints what differs between the first file and all the others together. The error text, empty on
// success.
std::string Diff(const IMAGE_ARGUMENTS& arguments, bool* differs);
