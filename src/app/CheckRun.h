#pragma once

#include <optional>

// Checks the run that the arguments after "--check" ask for: prints what it would do and what is
// wrong with its input, or with "--check --json" the same as JSON. Reads all files as the run does,
// opens no port and writes nothing. Returns the exit status: 0 if nothing was found, 1 for
// warnings, 2 for errors; none for a command line that does not start with "--check".
std::optional<int> CheckRun(int argc, char** argv);
