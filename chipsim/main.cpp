#include <signal.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "chipsim/ChipsimArguments.h"
#include "chipsim/SimulatedChip.h"
#include "chipsim/TerminalCommand.h"
#include "image/ChipImageByteData.h"
#include "image/ImageWriters.h"
#include "transport/LineCapture.h"

namespace {

constexpr int OWN_FAILURE = 1;
constexpr int WRONG_USAGE = 2;

int Fail(const std::string& text, int status) {
    std::fprintf(stderr, "chipsim: %s\n", text.c_str());
    return status;
}

// The signals that this program waits for instead of being interrupted. SIGPIPE is among them: the
// chip outlives the reader of its trace.
sigset_t WaitedSignals() {
    sigset_t set;
    ::sigemptyset(&set);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGCHLD, SIGPIPE}) {
        ::sigaddset(&set, number);
    }
    return set;
}

// The next signal, or 0 when none comes for a while.
int NextSignal(const sigset_t& set) {
    constexpr timespec WHILE = {0, 200'000'000};
    const int number = ::sigtimedwait(&set, nullptr, &WHILE);
    return number > 0 ? number : 0;
}

bool AsksToEnd(int number) {
    return number == SIGINT || number == SIGTERM || number == SIGHUP;
}

int RunCommand(const CSimulatedChip& chip, const std::vector<std::string>& words,
               const sigset_t& signals, const sigset_t& inheritedMask) {
    CTerminalCommand command(inheritedMask);
    const std::string error = command.Start(chip.PortPath(), words);
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

// Tells the seed, with which a run that went wrong by chance can be repeated.
void PrintSeed(const CHIP_SETTINGS& settings) {
    if (std::ranges::any_of(settings.faults, &FAULT_RULE::UsesChance)) {
        std::fprintf(stderr, "chipsim: seed %u\n", settings.seed);
    }
}

// The error text, empty on success and without a name.
std::string Read(const std::string& name, CChipImageByteData& image) {
    return name.empty() ? "" : image.LoadFromHexFile(name.c_str(), true, true);
}

// False when there is a name and the file cannot be created.
bool Open(std::ofstream& file, const std::string& name) {
    if (!name.empty()) {
        file.open(name, std::ios::binary);
    }
    return file.good();
}

// The name of the first file that cannot be created, empty on success.
std::string OpenOutputs(const CHIPSIM_ARGUMENTS& arguments, std::ofstream& dump,
                        std::ofstream& records, CLineCapture& capture) {
    if (!Open(dump, arguments.dumpFile)) {
        return arguments.dumpFile;
    }
    if (!Open(records, arguments.recordsFile)) {
        return arguments.recordsFile;
    }
    const std::string port = arguments.linkPath.empty() ? "chipsim" : arguments.linkPath;
    const bool isComplete =
        arguments.captureFile.empty() ||
        capture.Open(arguments.captureFile, "chipsim " CHIPSIM_VERSION, port).empty();
    return isComplete ? "" : arguments.captureFile;
}

// The status, or that of a failure when there was none so far.
int Finish(std::ofstream& file, const std::string& name, int status) {
    if (name.empty() || file.flush().good()) {
        return status;
    }
    return Fail("cannot write " + name, status != 0 ? status : OWN_FAILURE);
}

void Load(const CChipImageByteData& image, CSparseMemory& memory) {
    for (unsigned int i = 0; i < image.CountContiguousRanges(); ++i) {
        memory.Write(image.GetRangeStartingAddress(i),
                     {image.GetRangeBytePointer(i), image.GetRangeByteSize(i)});
    }
}

int Serve(CSimulatedChip& chip, const CHIPSIM_ARGUMENTS& arguments) {
    const sigset_t signals = WaitedSignals();
    sigset_t inheritedMask;
    ::pthread_sigmask(SIG_BLOCK, &signals, &inheritedMask);
    const std::string error = chip.Start(arguments.linkPath);
    if (!error.empty()) {
        return Fail(error, OWN_FAILURE);
    }
    const int status = arguments.command.empty()
                           ? ServePort(chip, signals)
                           : RunCommand(chip, arguments.command, signals, inheritedMask);
    chip.Stop();
    return status;
}

void WriteDump(std::ofstream& dump, const std::vector<CSparseMemory::REGION>& regions) {
    std::vector<CMemoryPiece> pieces;
    pieces.reserve(regions.size());
    for (const CSparseMemory::REGION& region : regions) {
        pieces.push_back({region.address, 0, region.bytes});
    }
    WriteHexFile(pieces, HEX_USUAL_RECORD_SIZE, std::nullopt,
                 [&dump](std::string_view text) { dump << text; });
}

int Run(const CHIPSIM_ARGUMENTS& arguments) {
    CChipImageByteData image("", "", "");
    if (const std::string error = Read(arguments.loadFile, image); !error.empty()) {
        return Fail("cannot load " + arguments.loadFile + ": " + error, OWN_FAILURE);
    }
    // A run whose result cannot be kept had better not start.
    std::ofstream dump;
    std::ofstream records;
    CLineCapture capture;
    if (const std::string name = OpenOutputs(arguments, dump, records, capture); !name.empty()) {
        return Fail("cannot write " + name, OWN_FAILURE);
    }
    PrintSeed(arguments.settings);
    CSimulatedChip chip(
        arguments.settings,
        [&](const CHIP_COMMAND& command) {
            if (arguments.trace) {
                std::fprintf(stderr, "chipsim: %s\n", DescribeChipCommand(command).c_str());
            }
            if (command.IsLoadedRecord()) {
                records.write(reinterpret_cast<const char*>(command.packet.data()),
                              static_cast<std::streamsize>(command.packet.size()));
            }
            if (!command.faults.empty()) {
                capture.Note(DescribeChipCommand(command));
            }
        },
        &capture);
    Load(image, chip.Memory());
    const int status = Serve(chip, arguments);
    if (dump.is_open()) {
        WriteDump(dump, chip.Memory().WrittenRegions());
    }
    return Finish(records, arguments.recordsFile, Finish(dump, arguments.dumpFile, status));
}

}  // namespace

int main(int argc, char** argv) {
    CHIPSIM_ARGUMENTS arguments;
    arguments.settings.seed = std::random_device()();
    const std::string error = ParseChipsimArguments(argc, argv, arguments);
    if (!error.empty()) {
        return Fail(error, WRONG_USAGE);
    }
    if (arguments.showHelp || arguments.showVersion) {
        std::fputs(arguments.showHelp ? ChipsimHelp() : "chipsim " CHIPSIM_VERSION "\n", stdout);
        return std::fflush(stdout) == 0 ? 0 : OWN_FAILURE;
    }
    return Run(arguments);
}
