#pragma once

#include <string>
#include <string_view>

// Upper-cases 'a' to 'z' in place, whatever the locale; no other byte changes. Returns its
// argument.
char* STRING_TO_UPPER(char* text);

std::string UpperCaseCopy(std::string_view text);
bool EqualIgnoringCase(std::string_view left, std::string_view right);
