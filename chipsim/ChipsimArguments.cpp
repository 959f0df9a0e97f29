#include "chipsim/ChipsimArguments.h"

#include <cstdint>
#include <limits>
#include <string_view>

#include "chipsim/ArgumentNumber.h"

namespace {

constexpr unsigned int HIGHEST_BAUD = 100'000'000;
constexpr unsigned int LONGEST_DELAY_MS = 600'000;
constexpr unsigned int MOST_MARKERS = 1000;

using ARGUMENTS = CHIPSIM_ARGUMENTS;

bool SetBaud(ARGUMENTS& arguments, const std::string& value, std::string&) {
    return ReadArgumentNumber(value, HIGHEST_BAUD, arguments.settings.baud);
}

bool SetDump(ARGUMENTS& arguments, const std::string& value, std::string&) {
    arguments.dumpFile = value;
    return !value.empty();
}

bool SetRecords(ARGUMENTS& arguments, const std::string& value, std::string&) {
    arguments.recordsFile = value;
    return !value.empty();
}

bool SetLink(ARGUMENTS& arguments, const std::string& value, std::string&) {
    arguments.linkPath = value;
    return !value.empty();
}

bool SetRam(ARGUMENTS& arguments, const std::string& value, std::string&) {
    constexpr unsigned int LAST = std::numeric_limits<std::uint32_t>::max();
    CHIP_SETTINGS& settings = arguments.settings;
    const std::size_t dash = value.find('-');
    return dash != std::string::npos &&
           ReadArgumentNumber(std::string_view(value).substr(0, dash), LAST, settings.ramFirst) &&
           ReadArgumentNumber(std::string_view(value).substr(dash + 1), LAST, settings.ramLast) &&
           settings.ramFirst <= settings.ramLast;
}

bool SetEraseTime(ARGUMENTS& arguments, const std::string& value, std::string&) {
    return ReadArgumentNumber(value, LONGEST_DELAY_MS, arguments.settings.eraseTimeMs);
}

bool SetEraseMarkers(ARGUMENTS& arguments, const std::string& value, std::string&) {
    return ReadArgumentNumber(value, MOST_MARKERS, arguments.settings.eraseMarkers);
}

bool SetResetNtf(ARGUMENTS& arguments, const std::string&, std::string&) {
    return arguments.settings.sendsResetNtf = true;
}

bool SetResetNtfDelay(ARGUMENTS& arguments, const std::string& value, std::string&) {
    arguments.settings.sendsResetNtf = true;
    return ReadArgumentNumber(value, LONGEST_DELAY_MS, arguments.settings.resetNtfDelayMs);
}

bool AddFault(ARGUMENTS& arguments, const std::string& value, std::string& error) {
    FAULT_RULE rule;
    error = ParseFaultRule(value, rule);
    arguments.settings.faults.push_back(std::move(rule));
    return error.empty();
}

bool AddFaultFile(ARGUMENTS& arguments, const std::string& value, std::string& error) {
    error = ReadFaultFile(value, arguments.settings.faults);
    return error.empty();
}

bool SetSeed(ARGUMENTS& arguments, const std::string& value, std::string&) {
    arguments.hasSeed = true;
    return ReadArgumentNumber(value, std::numeric_limits<unsigned int>::max(),
                              arguments.settings.seed);
}

bool SetTrace(ARGUMENTS& arguments, const std::string&, std::string&) {
    return arguments.trace = true;
}
bool SetHelp(ARGUMENTS& arguments, const std::string&, std::string&) {
    return arguments.showHelp = true;
}
bool SetVersion(ARGUMENTS& arguments, const std::string&, std::string&) {
    return arguments.showVersion = true;
}

struct OPTION {
    const char* name;
    const char* wants;  // what its value is to be; null when it takes none
    bool (*set)(ARGUMENTS&, const std::string& value, std::string& error);
};

constexpr OPTION OPTIONS[] = {
    {"--baud", "a number of bits per second", SetBaud},
    {"--dump", "a file name", SetDump},
    {"--dump-records", "a file name", SetRecords},
    {"--link", "a path", SetLink},
    {"--ram", "two addresses, FIRST-LAST", SetRam},
    {"--erase-time", "milliseconds, at most 600000", SetEraseTime},
    {"--erase-markers", "a number, at most 1000", SetEraseMarkers},
    {"--reset-ntf", nullptr, SetResetNtf},
    {"--reset-ntf-delay", "milliseconds, at most 600000", SetResetNtfDelay},
    {"--fault", "KIND:WHEN:FAULT", AddFault},
    {"--faults", "a file name", AddFaultFile},
    {"--seed", "a number", SetSeed},
    {"--trace", nullptr, SetTrace},
    {"--help", nullptr, SetHelp},
    {"-h", nullptr, SetHelp},
    {"--version", nullptr, SetVersion},
};

const OPTION* FindOption(std::string_view name) {
    for (const OPTION& option : OPTIONS) {
        if (name == option.name) {
            return &option;
        }
    }
    return nullptr;
}

// One option with its value, in one word or two; next is the first word not used.
std::string TakeOption(const std::vector<std::string>& words, std::size_t& next,
                       ARGUMENTS& arguments) {
    const std::string& word = words[next++];
    const std::size_t equals = word.find('=');
    const std::string name = word.substr(0, equals);
    const OPTION* option = FindOption(name);
    if (option == nullptr) {
        return "unknown option '" + name + "'";
    }
    std::string value;
    if (option->wants == nullptr) {
        if (equals != std::string::npos) {
            return "option '" + name + "' takes no value";
        }
    } else if (equals != std::string::npos) {
        value = word.substr(equals + 1);
    } else if (next < words.size()) {
        value = words[next++];
    } else {
        return "option '" + name + "' needs " + option->wants;
    }
    std::string error;
    if (!option->set(arguments, value, error) && error.empty()) {
        return "option '" + name + "' needs " + option->wants + ", not '" + value + "'";
    }
    return error;
}

std::string CheckTogether(const ARGUMENTS& arguments) {
    if (arguments.linkPath.empty() && arguments.command.empty()) {
        return "no command to run, and no --link to serve (see chipsim --help)";
    }
    if (!arguments.linkPath.empty() && !arguments.command.empty()) {
        return "--link and a command exclude each other";
    }
    return {};
}

}  // namespace

std::string ParseChipsimArguments(const std::vector<std::string>& words, ARGUMENTS& arguments) {
    std::size_t next = 0;
    while (next < words.size() && words[next].starts_with('-')) {
        if (words[next] == "--") {
            ++next;
            break;
        }
        std::string error = TakeOption(words, next, arguments);
        if (!error.empty() || arguments.showHelp || arguments.showVersion) {
            return error;
        }
    }
    arguments.command.assign(words.begin() + static_cast<std::ptrdiff_t>(next), words.end());
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
      --dump FILE          at the end, write the chip's memory as Intel HEX
      --dump-records FILE  at the end, write the NCI records that arrived
      --reset-ntf          send the NCI reset notification after a signature
      --reset-ntf-delay MS
                           how long after it (100); implies --reset-ntf
      --trace              print each command on standard error
      --fault KIND:WHEN:FAULT
                           spoil replies; may be given several times. KIND is
                           reset, minidriver, write, read, launch, crc, erase,
                           patch, signature, secure, resetntf, other or any;
                           WHEN is N, N-M, N+, N% or every; FAULT is drop,
                           late=MS, pieces=N,MS, twice, flip=BIT, event=N,
                           noise-before=N, noise-after=N, status=N, cut=N,
                           silence, flood=N, hangup=N, slow=MS, baddata=N or
                           badcrc
      --faults FILE        take faults from a file, one on a line
      --seed N             seed of what is left to chance in faults
  -h, --help               show this help and end
      --version            show the version and end

Exit status: that of COMMAND, 128 + N when signal N killed it; 0 after --link;
1 when chipsim itself fails, 2 for wrong usage, 126 or 127 when COMMAND cannot
be run or found.
)";
}
