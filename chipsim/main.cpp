#include <signal.h>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "chipsim/ChipsimArguments.h"
#include "chipsim/ResultFile.h"
#include "chipsim/SimulatedChip.h"
#include "chipsim/TerminalCommand.h"

namespace {

constexpr int OWN_FAILURE = 1;
constexpr int WRONG_USAGE = 2;

int Fail(const std::string& text, int status) {
    std::fprintf(stderr, "chipsim: %s\n", text.c_str());
    return status;
}

// The signals that this program waits for instead of being interrupted. SIGPIPE is among them so
// that a reader of the trace that goes away does not end the chip.
sigset_t WaitedSignals() {
    sigset_t set;
    ::sigemptyset(&set);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGCHLD, SIGPIPE}) {
        ::sigaddset(&set, number);
    }
    return set;
}

// The next signal, or 0 after a while.
int NextSignal(const sigset_t& set) {
    constexpr timespec WHILE = {0, 200'000'000};
    const int number = ::sigtimedwait(&set, nullptr, &WHILE);
    return number > 0 ? number : 0;
}

bool AsksToEnd(int number) {
    return number == SIGINT || number == SIGTERM || number == SIGHUP;
}

int RunCommand(const CSimulatedChip& chip, const CHIPSIM_ARGUMENTS& arguments,
               const sigset_t& signals, const sigset_t& inheritedMask) {
    CTerminalCommand command(inheritedMask);
    const std::string error = command.Start(chip.PortPath(), arguments.command);
    if (!error.empty()) {
        return Fail(error, OWN_FAILURE);
    }
    for (;;) {
        if (const std::optional<int> status = command.Poll()) {
            return *status;
        }
        const int number = NextSignal(signals);
        if (AsksToEnd(number)) {
            command.Signal(number);
        }
    }
}

int ServePort(const CSimulatedChip& chip, const sigset_t& signals) {
    std::fprintf(stderr, "chipsim: the chip is at %s\n", chip.PortPath().c_str());
    while (!chip.HasHungUp() && !AsksToEnd(NextSignal(signals))) {
    }
    return 0;
}

// A run that went wrong by chance can be had again.
void SettleSeed(CHIPSIM_ARGUMENTS& arguments) {
    CHIP_SETTINGS& settings = arguments.settings;
    if (!arguments.hasSeed) {
        settings.seed = std::random_device()();
    }
    if (std::ranges::any_of(settings.faults, &FAULT_RULE::UsesChance)) {
        std::fprintf(stderr, "chipsim: seed %u\n", settings.seed);
    }
}

void PrintCommand(const CHIP_COMMAND& command) {
    std::fprintf(stderr, "chipsim: %s\n", DescribeChipCommand(command).c_str());
}

std::string RecordsAsFile(const CSimulatedChip& chip) {
    std::string text;
    for (const CHIP_RECORD& record : chip.Records()) {
        text.append(record.bytes.begin(), record.bytes.end());
    }
    return text;
}

// The status, or that of a failure when there was none so far.
int WriteResult(CResultFile& file, const std::string& text, int status) {
    if (file.Write(text)) {
        return status;
    }
    return Fail("cannot write " + file.Path(), status != 0 ? status : OWN_FAILURE);
}

int Run(CHIPSIM_ARGUMENTS& arguments) {
    CResultFile dump(arguments.dumpFile);
    CResultFile records(arguments.recordsFile);
    for (const CResultFile* file : {&dump, &records}) {
        if (!file->IsUsable()) {
            return Fail("cannot write " + file->Path(), OWN_FAILURE);
        }
    }
    const sigset_t signals = WaitedSignals();
    sigset_t inheritedMask;
    ::pthread_sigmask(SIG_BLOCK, &signals, &inheritedMask);

    SettleSeed(arguments);
    arguments.settings.keepsLog = false;
    arguments.settings.keepsRecords = !arguments.recordsFile.empty();
    CSimulatedChip chip(arguments.settings);
    const std::string error =
        chip.Start(arguments.linkPath, arguments.trace ? PrintCommand : nullptr);
    if (!error.empty()) {
        return Fail(error, OWN_FAILURE);
    }
    int status = arguments.command.empty() ? ServePort(chip, signals)
                                           : RunCommand(chip, arguments, signals, inheritedMask);
    chip.Stop();
    status = WriteResult(dump, chip.MemoryAsIntelHex(), status);
    return WriteResult(records, RecordsAsFile(chip), status);
}

}  // namespace

int main(int argc, char** argv) {
    CHIPSIM_ARGUMENTS arguments;
    const std::vector<std::string> words(argv + 1, argv + argc);
    const std::string error = ParseChipsimArguments(words, arguments);
    if (!error.empty()) {
        return Fail(error, WRONG_USAGE);
    }
    if (arguments.showHelp || arguments.showVersion) {
        std::fputs(arguments.showHelp ? ChipsimHelp() : "chipsim " CHIPSIM_VERSION "\n", stdout);
        return std::fflush(stdout) == 0 ? 0 : OWN_FAILURE;
    }
    return Run(arguments);
}
