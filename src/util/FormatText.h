#pragma once

#include <string>

// Formats as printf does. format is always a literal of our own; text from users is an argument.
[[gnu::format(printf, 1, 2)]] std::string FormatText(const char* format, ...);
