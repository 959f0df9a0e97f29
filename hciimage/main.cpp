#include <cstdio>
#include <string>

#include "hciimage/CheckCommand.h"
#include "hciimage/ConvertCommand.h"
#include "hciimage/DiffCommand.h"
#include "hciimage/ImageArguments.h"
#include "hciimage/InfoCommand.h"
#include "hciimage/MapCommand.h"
#include "os/Terminal.h"

namespace {

constexpr int DIFFERENT = 1;
constexpr int TROUBLE = 2;

int Fail(const std::string& text) {
    std::fflush(stdout);
    std::fprintf(stderr, "hciimage: %s\n", CTerminal(stderr).Shown(text).c_str());
    return TROUBLE;
}

// The error text, empty on success.
std::string Run(const IMAGE_ARGUMENTS& arguments, int* status) {
    if (arguments.showHelp || arguments.showVersion) {
        std::fputs(arguments.showHelp ? ImageHelp() : "hciimage " HCIIMAGE_VERSION "\n", stdout);
        return {};
    }
    if (arguments.command == "info") {
        return PrintInfo(arguments);
    }
    if (arguments.command == "check") {
        return CheckFiles(arguments, status);
    }
    if (arguments.command == "diff") {
        bool differs = false;
        std::string error = Diff(arguments, &differs);
        *status = differs ? DIFFERENT : 0;
        return error;
    }
    return arguments.command == "map" ? DrawMap(arguments) : Convert(arguments);
}

}  // namespace

int main(int argc, char** argv) {
    IMAGE_ARGUMENTS arguments;
    int status = 0;
    std::string error = ParseImageArguments(argc, argv, arguments);
    if (error.empty()) {
        error = Run(arguments, &status);
    }
    if (!error.empty()) {
        return Fail(error);
    }
    return std::fflush(stdout) == 0 ? status : Fail("cannot write to standard output");
}
