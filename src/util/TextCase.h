#pragma once

#include <string>
#include <string_view>

// Upper-cases 'a' to 'z' in place and leaves every other byte, above 127 too, as it is, whatever
// the locale. Returns its argument.
char* STRING_TO_UPPER(char* text);

std::string UpperCaseCopy(std::string_view text);
bool EqualIgnoringCase(std::string_view left, std::string_view right);
