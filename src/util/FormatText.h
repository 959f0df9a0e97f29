#pragma once

#include <string>

// printf formatting into a string of whatever length it takes. format is always a literal of our
// own; text from users goes in as an argument.
[[gnu::format(printf, 1, 2)]] std::string FormatText(const char* format, ...);
