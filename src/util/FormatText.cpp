#include "util/FormatText.h"

#include <cstdarg>
#include <cstdio>

std::string FormatText(const char* format, ...) {
    // Most lines fit here, so that a record's status text costs one allocation.
    char shortText[256];
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start has just set it
    const int length = std::vsnprintf(shortText, sizeof shortText, format, arguments);
    va_end(arguments);

    std::string text;
    if (length >= 0 && static_cast<std::size_t>(length) < sizeof shortText) {
        text.assign(shortText, static_cast<std::size_t>(length));
    } else if (length >= 0) {
        text.resize(static_cast<std::size_t>(length));
        std::vsnprintf(text.data(), text.size() + 1, format, again);
    }
    va_end(again);
    return text;
}
