#include "util/TextCase.h"

#include <algorithm>

namespace {

char UpperCaseByte(char byte) {
    return byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte;
}

}  // namespace

char* STRING_TO_UPPER(char* text) {
    for (char* cursor = text; *cursor != '\0'; ++cursor) {
        *cursor = UpperCaseByte(*cursor);
    }
    return text;
}

std::string UpperCaseCopy(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), UpperCaseByte);
    return result;
}

bool EqualIgnoringCase(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return UpperCaseByte(a) == UpperCaseByte(b); });
}
