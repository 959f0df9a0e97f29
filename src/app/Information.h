#pragma once

#include <optional>
#include <string>

#include "transport/SerialPortList.h"

// The text that --help, --version or --list-ports asks for; none for any other command line. Each
// must be the only argument and written exactly so: other programs may rely on what any other
// command line means.
std::optional<std::string> MakeInformation(int argc, char** argv, const std::string& version,
                                           const CSystemFolders& folders = {});
