#include "chipsim/ChipsimArguments.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <string_view>

#include "util/ArgumentNumber.h"
#include "util/LongOptions.h"

namespace {

namespace fs = std::filesystem;

using ARGUMENTS = CHIPSIM_ARGUMENTS;

struct OPTION : CLongOptions::CRow {
    // The error text, empty on success.
    std::string (*set)(const OPTION& option, const std::string& value, ARGUMENTS& arguments);
};

std::string Check(bool isGood, const OPTION& option, const std::string& value) {
    return isGood ? std::string() : CLongOptions::Needs(option, ", not '" + value + "'");
}

template <unsigned int CHIP_SETTINGS::*FIELD, unsigned int MOST>
std::string SetNumber(const OPTION& option, const std::string& value, ARGUMENTS& arguments) {
    return Check(ReadArgumentNumber(value, MOST, arguments.settings.*FIELD), option, value);
}

template <std::string ARGUMENTS::*FIELD>
std::string SetName(const OPTION& option, const std::string& value, ARGUMENTS& arguments) {
    arguments.*FIELD = value;
    return Check(!value.empty(), option, value);
}

template <bool ARGUMENTS::*FIELD>
std::string SetFlag(const OPTION&, const std::string&, ARGUMENTS& arguments) {
    arguments.*FIELD = true;
    return {};
}

constexpr unsigned int LARGEST = std::numeric_limits<unsigned int>::max();
constexpr unsigned int LONGEST_MS = 600'000;

std::string SetRam(const OPTION& option, const std::string& value, ARGUMENTS& arguments) {
    CHIP_SETTINGS& settings = arguments.settings;
    const std::string_view text = value;
    const std::size_t dash = std::min(text.find('-'), text.size());
    const bool isRange = dash < text.size() &&
                         ReadArgumentNumber(text.substr(0, dash), LARGEST, settings.ramFirst) &&
                         ReadArgumentNumber(text.substr(dash + 1), LARGEST, settings.ramLast) &&
                         settings.ramFirst <= settings.ramLast;
    return Check(isRange, option, value);
}

std::string SetResetNtf(const OPTION&, const std::string&, ARGUMENTS& arguments) {
    arguments.settings.sendsResetNtf = true;
    return {};
}

std::string SetResetNtfDelay(const OPTION& option, const std::string& value, ARGUMENTS& arguments) {
    arguments.settings.sendsResetNtf = true;
    return SetNumber<&CHIP_SETTINGS::resetNtfDelayMs, LONGEST_MS>(option, value, arguments);
}

std::string AddFault(const OPTION&, const std::string& value, ARGUMENTS& arguments) {
    return ParseFaultRule(value, arguments.settings.faults.emplace_back());
}

std::string AddFaultFile(const OPTION&, const std::string& value, ARGUMENTS& arguments) {
    arguments.faultFiles.push_back(value);
    return ReadFaultFile(value, arguments.settings.faults);
}

constexpr OPTION OPTIONS[] = {
    {{"link", "a path"}, SetName<&ARGUMENTS::linkPath>},
    {{"baud", "a number of bits per second"}, SetNumber<&CHIP_SETTINGS::baud, 100'000'000>},
    {{"ram", "two addresses, FIRST-LAST"}, SetRam},
    {{"erase-time", "milliseconds, at most 600000"},
     SetNumber<&CHIP_SETTINGS::eraseTimeMs, LONGEST_MS>},
    {{"erase-markers", "a number, at most 1000"}, SetNumber<&CHIP_SETTINGS::eraseMarkers, 1000>},
    {{"load", "a file name"}, SetName<&ARGUMENTS::loadFile>},
    {{"dump", "a file name"}, SetName<&ARGUMENTS::dumpFile>},
    {{"dump-records", "a file name"}, SetName<&ARGUMENTS::recordsFile>},
    {{"capture", "a file name"}, SetName<&ARGUMENTS::captureFile>},
    {{"reset-ntf"}, SetResetNtf},
    {{"reset-ntf-delay", "milliseconds, at most 600000"}, SetResetNtfDelay},
    {{"trace"}, SetFlag<&ARGUMENTS::trace>},
    {{"fault", "KIND:WHEN:FAULT"}, AddFault},
    {{"faults", "a file name"}, AddFaultFile},
    {{"seed", "a number"}, SetNumber<&CHIP_SETTINGS::seed, LARGEST>},
    {{"help", nullptr, 'h'}, SetFlag<&ARGUMENTS::showHelp>},
    {{"version"}, SetFlag<&ARGUMENTS::showVersion>},
};

// Whether writing to one name would overwrite what the other one names. A device or a pipe may have
// both names.
bool IsSameFile(const fs::path& one, const fs::path& other) {
    std::error_code code;
    if (fs::exists(one, code) && !fs::is_regular_file(one, code)) {
        return false;
    }
    return fs::equivalent(one, other, code) ||
           fs::weakly_canonical(fs::absolute(one, code), code) ==
               fs::weakly_canonical(fs::absolute(other, code), code);
}

std::string CheckOutputs(const ARGUMENTS& arguments) {
    std::vector<std::string> others = arguments.faultFiles;
    if (!arguments.loadFile.empty()) {
        others.push_back(arguments.loadFile);
    }
    const std::pair<const char*, const std::string&> outputs[] = {
        {"dump", arguments.dumpFile},
        {"dump-records", arguments.recordsFile},
        {"capture", arguments.captureFile}};
    for (const auto& [name, file] : outputs) {
        if (file.empty()) {
            continue;
        }
        for (const std::string& other : others) {
            if (IsSameFile(file, other)) {
                return std::string("option '--") + name + "' needs a file of its own, not '" +
                       file + "'";
            }
        }
        others.push_back(file);
    }
    return {};
}

std::string CheckTogether(const ARGUMENTS& arguments) {
    if (arguments.linkPath.empty() && arguments.command.empty()) {
        return "no command to run, and no --link to serve (see chipsim --help)";
    }
    if (!arguments.linkPath.empty() && !arguments.command.empty()) {
        return "--link and a command exclude each other";
    }
    return CheckOutputs(arguments);
}

}  // namespace

std::string ParseChipsimArguments(int argc, char** argv, ARGUMENTS& arguments) {
    CLongOptions options(argc, argv, {std::begin(OPTIONS), std::end(OPTIONS)}, true);
    for (int found = 0; (found = options.Next()) != CLongOptions::END;) {
        if (found == CLongOptions::WRONG) {
            return options.Error();
        }
        const OPTION& row = OPTIONS[found];
        std::string error = row.set(row, options.Value(), arguments);
        if (!error.empty() || arguments.showHelp || arguments.showVersion) {
            return error;
        }
    }
    const std::span<char*> words = options.Rest();
    arguments.command.assign(words.begin(), words.end());
    return CheckTogether(arguments);
}

const char* ChipsimHelp() {
    return R"(Usage: chipsim [OPTION]... -- COMMAND [ARGUMENT]...
       chipsim [OPTION]... --link PATH

Plays a Bluetooth or NFC controller chip on a pseudo-terminal.

With a COMMAND, runs it with the chip as its controlling terminal, so that it
reaches the chip as /dev/tty, and ends with its exit status. With --link, makes
PATH a name for the port and serves it until SIGINT or SIGTERM.

      --link PATH          serve the port under this name, such as /dev/ttySIM0
      --baud N             bits per second each way, 10 to a byte (115200);
                           0 = as fast as it can
      --ram FIRST-LAST     addresses that a chip erase leaves alone
                           (0x00200000-0x002FFFFF)
      --erase-time MS      how long a chip erase takes (200)
      --erase-markers N    progress markers sent during a chip erase (2)
      --load FILE          start with the memory that this Intel HEX file holds
      --dump FILE          at the end, write the chip's memory as Intel HEX
      --dump-records FILE  write the NCI records as they arrive
      --capture FILE       write every packet with its time, for Wireshark
      --reset-ntf          send the NCI reset notification after a signature
      --reset-ntf-delay MS
                           how long after it (100); implies --reset-ntf
      --trace              print each command on standard error
      --fault KIND:WHEN:FAULT
                           inject a fault into replies; may be given several
                           times. KIND is reset, minidriver, write, read,
                           launch, crc, erase, patch, signature, secure,
                           resetntf, other or any;
                           WHEN is N, N-M, N+, N% or every; FAULT is drop,
                           late=MS, pieces=N,MS, twice, flip=BIT, event=N,
                           noise-before=N, noise-after=N, status=N, cut=N,
                           silence, flood=N, hangup=N, slow=MS, baddata=N or
                           badcrc
      --faults FILE        take faults from a file, one on a line
      --seed N             seed of everything random in faults
  -h, --help               show this help and exit
      --version            show the version and exit

Names of options may be shortened while they stay unambiguous.

Exit status: that of COMMAND, 128 + N when signal N killed it; 0 after --link;
1 when chipsim itself fails, 2 for wrong usage, 126 or 127 when COMMAND cannot
be run or found.
)";
}
