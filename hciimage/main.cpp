#include <cstdio>
#include <string>

#include "hciimage/ConvertCommand.h"
#include "hciimage/ImageArguments.h"
#include "hciimage/InfoCommand.h"

namespace {

constexpr int TROUBLE = 2;

int Fail(const std::string& text) {
    std::fflush(stdout);
    std::fprintf(stderr, "hciimage: %s\n", text.c_str());
    return TROUBLE;
}

// The error text, empty on success.
std::string Run(const IMAGE_ARGUMENTS& arguments) {
    if (arguments.showHelp || arguments.showVersion) {
        std::fputs(arguments.showHelp ? ImageHelp() : "hciimage " HCIIMAGE_VERSION "\n", stdout);
        return {};
    }
    return arguments.command == "info" ? PrintInfo(arguments) : Convert(arguments);
}

}  // namespace

int main(int argc, char** argv) {
    IMAGE_ARGUMENTS arguments;
    std::string error = ParseImageArguments(argc, argv, arguments);
    if (error.empty()) {
        error = Run(arguments);
    }
    if (!error.empty()) {
        return Fail(error);
    }
    return std::fflush(stdout) == 0 ? 0 : Fail("cannot write to standard output");
}
