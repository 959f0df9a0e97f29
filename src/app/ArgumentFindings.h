#pragma once

#include <string>
#include <vector>

#include "util/Finding.h"

// What is wrong with the arguments themselves: options that another option takes for its value,
// options without a value, options of which only one counts. *rulesPath receives the value of the
// -VNP or -RULES that counts, "" without one.
std::vector<CFinding> FindInArguments(int argc, char** argv, std::string* rulesPath);
