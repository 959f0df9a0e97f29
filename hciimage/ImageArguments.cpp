#include "hciimage/ImageArguments.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string_view>

#include "util/ArgumentNumber.h"
#include "util/LongOptions.h"

namespace {

using ARGUMENTS = IMAGE_ARGUMENTS;

struct COMMAND {
    const char* name;
    std::size_t fewestFiles;
    std::size_t mostFiles;
    const char* files;  // in words
};

constexpr std::size_t ANY = std::numeric_limits<std::size_t>::max();

constexpr COMMAND COMMANDS[] = {
    {"info", 1, ANY, "one file or more"},
    {"check", 1, ANY, "one file or more"},
    {"diff", 2, ANY, "two files or more"},
    {"map", 1, ANY, "one file or more"},
    {"convert", 2, ANY, "an input file or more, and the output file"},
};

// What has been read so far.
struct STATE {
    ARGUMENTS& arguments;
    CImageFileRequest nextFile;  // what options said about it
    bool describesFile = false;
};

struct OPTION : CLongOptions::CRow {
    std::string_view commands;  // that take it; empty = all
    // The error text, empty on success.
    std::string (*set)(const OPTION& option, const std::string& value, STATE& state);
};

std::string Check(bool isGood, const OPTION& option, const std::string& value) {
    return isGood ? std::string() : CLongOptions::Needs(option, ", not '" + value + "'");
}

constexpr unsigned int LARGEST = std::numeric_limits<unsigned int>::max();

std::string SetAs(const OPTION& option, const std::string& value, STATE& state) {
    state.nextFile.m_Format = ImageFormatOfName("file." + value);  // as at the end of a name
    state.describesFile = true;
    return Check(state.nextFile.m_Format.has_value(), option, value);
}

std::string SetAt(const OPTION& option, const std::string& value, STATE& state) {
    unsigned int address = 0;
    const bool isGood = ReadArgumentNumber(value, LARGEST, address);
    state.nextFile.m_Format = ImageFormat::RAW;
    state.nextFile.m_RawAddress = address;
    state.describesFile = true;
    return Check(isGood, option, value);
}

std::string SetFill(const OPTION& option, const std::string& value, STATE& state) {
    unsigned int byte = 0;
    const bool isGood = ReadArgumentNumber(value, 0xFF, byte);
    state.arguments.fill = static_cast<unsigned char>(byte);
    return Check(isGood, option, value);
}

std::string SetRecordSize(const OPTION& option, const std::string& value, STATE& state) {
    unsigned int& size = state.arguments.recordSize;
    return Check(ReadArgumentNumber(value, 255, size) && size != 0, option, value);
}

std::string SetLaunch(const OPTION& option, const std::string& value, STATE& state) {
    unsigned int address = 0;
    const bool isGood = ReadArgumentNumber(value, LARGEST, address);
    state.arguments.launch = address;
    return Check(isGood, option, value);
}

std::string SetLimit(const OPTION& option, const std::string& value, STATE& state) {
    return Check(ReadArgumentNumber(value, LARGEST, state.arguments.limit), option, value);
}

std::string SetPicture(const OPTION& option, const std::string& value, STATE& state) {
    state.arguments.picture = value;
    return Check(!value.empty(), option, value);
}

template <bool ARGUMENTS::*FIELD>
std::string SetFlag(const OPTION&, const std::string&, STATE& state) {
    state.arguments.*FIELD = true;
    return {};
}

constexpr OPTION OPTIONS[] = {
    {{"as", "hex, hcd, ncd or raw"}, "", SetAs},
    {{"at", "an address"}, "", SetAt},
    {{"fill", "a byte"}, "convert", SetFill},
    {{"record-size", "a number of bytes, 1 to 255"}, "convert", SetRecordSize},
    {{"launch", "an address"}, "convert", SetLaunch},
    {{"limit", "a number"}, "diff", SetLimit},
    {{"output", "a file name", 'o'}, "map", SetPicture},
    {{"json"}, "info check", SetFlag<&ARGUMENTS::json>},
    {{"help", nullptr, 'h'}, "", SetFlag<&ARGUMENTS::showHelp>},
    {{"version"}, "", SetFlag<&ARGUMENTS::showVersion>},
};

std::string TakeWord(const std::string& word, STATE& state) {
    if (!state.arguments.command.empty()) {
        state.nextFile.m_strName = word;
        state.arguments.files.push_back(state.nextFile);
        state.nextFile = {};
        state.describesFile = false;
        return {};
    }
    if (std::ranges::none_of(COMMANDS, [&](const COMMAND& row) { return row.name == word; })) {
        return "unknown command '" + word + "' (see hciimage --help)";
    }
    state.arguments.command = word;
    return {};
}

std::string CheckTogether(const STATE& state, const std::vector<const OPTION*>& found) {
    const std::string& name = state.arguments.command;
    const auto command = std::ranges::find(COMMANDS, name, &COMMAND::name);
    if (command == std::end(COMMANDS)) {
        return "no command (see hciimage --help)";
    }
    for (const OPTION* option : found) {
        const std::string_view commands = option->commands;
        if (!commands.empty() && commands.find(name) == std::string_view::npos) {
            return std::string("option '--") + option->m_szName + "' is not for " + name;
        }
    }
    if (state.describesFile) {
        return "no file after '--as' or '--at'";
    }
    const std::size_t count = state.arguments.files.size();
    if (count < command->fewestFiles || count > command->mostFiles) {
        return name + " needs " + command->files;
    }
    return {};
}

}  // namespace

std::string ParseImageArguments(int argc, char** argv, ARGUMENTS& arguments) {
    STATE state{arguments, {}};
    std::vector<const OPTION*> seen;
    CLongOptions options(argc, argv, {std::begin(OPTIONS), std::end(OPTIONS)}, false);
    std::string error;
    for (int found = 0; error.empty() && (found = options.Next()) != CLongOptions::END;) {
        if (found == CLongOptions::WRONG) {
            return options.Error();
        }
        if (found == CLongOptions::WORD) {
            error = TakeWord(options.Value(), state);
            continue;
        }
        const OPTION& row = OPTIONS[found];
        error = row.set(row, options.Value(), state);
        seen.push_back(&row);
        if (arguments.showHelp || arguments.showVersion) {
            return error;
        }
    }
    for (const char* word : options.Rest()) {
        error = error.empty() ? TakeWord(word, state) : error;
    }
    return error.empty() ? CheckTogether(state, seen) : error;
}

const char* ImageHelp() {
    return R"(Usage: hciimage COMMAND [OPTION]... FILE...

Looks at image files for Bluetooth and NFC controller chips, and converts them.

  hciimage info FILE...        what is in a file: areas of memory, their sizes,
                               CRC-32 and first bytes, gaps, launch address
  hciimage check FILE...       what is wrong with a file
  hciimage diff A B...         where A differs from the others together
  hciimage map FILE...         where everything lies, as a picture
  hciimage convert IN... OUT   several files become one

Reads Intel HEX, HCD, NCD (info and check only) and raw bytes; finds out which,
except for NCD, which a name in .ncd tells, and raw bytes. The name of OUT tells
what to write: .hex, .ihex, .ihx, .hcd, .bin or .raw.

      --as FORMAT        the format of the next file: hex, hcd, ncd or raw
      --at ADDRESS       the next file holds raw bytes for this address
      --json             info, check: print JSON
      --limit N          diff: show at most N areas and N addresses (20)
  -o, --output FILE      map: draw an SVG picture into this file
      --fill BYTE        convert: what to put into gaps; raw files have 0xFF
                         there, others keep their gaps
      --record-size N    convert: bytes in a record (Intel HEX 16, HCD 251)
      --launch ADDRESS   convert: the launch address, instead of that of IN
  -h, --help             show this help and exit
      --version          show the version and exit

Numbers are decimal, or hexadecimal after 0x. Names of options may be shortened
while they stay unambiguous. A file is written whole or not at all.

Exit status: 0; 1 when diff finds a difference or check only warnings; 2 for
wrong usage, files that cannot be read or written, and errors that check finds.
)";
}
