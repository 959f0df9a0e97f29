#pragma once

#include <cstdio>

// Prints how the program is called; programName is argv[0].
void PrintUsage(FILE* stream, const char* programName);
