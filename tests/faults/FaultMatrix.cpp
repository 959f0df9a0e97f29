#include "faults/FaultMatrix.h"

#include <string_view>

namespace {

// A whole download of the suite's files takes 2.7 s on an idle machine; a busy one under a
// sanitizer gets much more.
constexpr double DOWNLOAD_SECONDS = 20;
constexpr double ERASE_WAIT_SECONDS = 60;

constexpr char FIRMWARE_SOURCE[] = "   (SOURCE:  FIRMWARE   Firmware code   fw.hex)";
constexpr char CONFIG_SOURCE[] = "   (SOURCE:  CONFIG   Configuration data   cfg.hcd)";
constexpr char NOT_COMPLETED[] = "Verify record request did not get completed by the firmware";

bool Is(const FAULT_KIND& kind, std::string_view fault) {
    return fault == kind.fault;
}

bool IsRead(const FAULT_TARGET& target) {
    return std::string_view(target.selector).starts_with("read");
}

bool IsCRC(const FAULT_TARGET& target) {
    return std::string_view(target.selector).starts_with("crc");
}

// A target whose program waits seconds for a reply, not half a second at most.
bool WaitsLong(const FAULT_TARGET& target) {
    return IsCRC(target) || NeedsResetNotification(target) ||
           std::string_view(target.selector).starts_with("erase");
}

// The text of a read-back with another end.
std::string ReadError(const FAULT_TARGET& target, const std::string& reason) {
    std::string text = target.noReply;
    return text.replace(text.find(NOT_COMPLETED), std::string_view(NOT_COMPLETED).size(), reason);
}

// The bytes of the suite's files count up from 0 for firmware, from 0x80 for configuration.
std::string Mismatch(const FAULT_TARGET& target, const char* read) {
    const bool isFirmware = std::string_view(target.selector) == "read:1";
    return ReadError(target, std::string("Data mismatch at address ") +
                                 (isFirmware ? "0x00500000. Expected byte value 0x00"
                                             : "0x00510000. Expected byte value 0x80") +
                                 " but device contains " + read);
}

FAULT_OUTCOME Recovers() {
    return {"", "", DOWNLOAD_SECONDS};
}

FAULT_OUTCOME FailsWith(const std::string& error) {
    return {error, error, DOWNLOAD_SECONDS};
}

FAULT_OUTCOME GetsNoReply(const FAULT_TARGET& target) {
    return {target.noReply, target.noReply, target.noReplySeconds};
}

// On a busy machine the flood may come in so slowly that 100 ms are over before the ring is full,
// or so fast that it is full before the first poll of an erase.
FAULT_OUTCOME Overflows(const FAULT_TARGET& target) {
    FAULT_OUTCOME outcome = FailsWith(target.overflow);
    const std::string_view selector = target.selector;
    if (selector == "minidriver:1") {
        outcome.orError = target.noReply;
    } else if (selector == "erase:1") {
        outcome.orError = "RxOverflow";
    }
    return outcome;
}

std::string InCode(const std::string& text) {
    std::string code = "`";
    return code.append(text).append("`");
}

}  // namespace

const std::vector<FAULT_TARGET>& FaultTargets() {
    static const std::string firmwareWrite =
        std::string("Download firmware error trying to write 32 bytes to address 0x00500000 ") +
        FIRMWARE_SOURCE;
    static const std::string nextFirmwareWrite =
        std::string("Download firmware error trying to write 32 bytes to address 0x00500020 ") +
        FIRMWARE_SOURCE;
    static const std::string configWrite =
        std::string("Download config error trying to write 32 bytes to address 0x00510000 ") +
        CONFIG_SOURCE;
    static const std::string nextConfigWrite =
        std::string("Download config error trying to write 8 bytes to address 0x00510020 ") +
        CONFIG_SOURCE;
    static const std::string firmwareRead =
        std::string("Download firmware error trying to verify 32 bytes to address 0x00500000 ") +
        FIRMWARE_SOURCE + "   (" + NOT_COMPLETED + ")";
    static const std::string nextFirmwareRead =
        std::string("Download firmware error trying to verify 32 bytes to address 0x00500020 ") +
        FIRMWARE_SOURCE + "   (" + NOT_COMPLETED + ")";
    static const std::string configRead =
        std::string("Download config error trying to verify 32 bytes at address 0x00510000 ") +
        CONFIG_SOURCE + " (" + NOT_COMPLETED + ")";
    static const std::string nextConfigRead =
        std::string("Download config error trying to verify 8 bytes at address 0x00510020 ") +
        CONFIG_SOURCE + " (" + NOT_COMPLETED + ")";
    static const std::string firmwareOverflow =
        std::string("Download firmware error trying to verify 32 bytes to address 0x00500000 ") +
        FIRMWARE_SOURCE + "   (RxOverflow)";
    static const std::string configOverflow =
        std::string("Download config error trying to verify 32 bytes at address 0x00510000 ") +
        CONFIG_SOURCE + " (RxOverflow)";
    static constexpr char MINIDRIVER_WRITE[] =
        "Download minidriver error trying to write 32 bytes to address 0x00200000";
    static constexpr char CRC_TIMEOUT[] =
        "CRC timeout while checking 104 bytes starting at address 0x00500000";

    static const std::vector<FAULT_TARGET> targets = {
        {"Download Minidriver", "minidriver:1", " VintorDownloadMinidriver failed!",
         DOWNLOAD_SECONDS, "RxOverflow VintorDownloadMinidriver failed!",
         "Failed to execute HCI Reset"},
        {"HCI Reset", "reset:1", "Failed to execute HCI Reset", DOWNLOAD_SECONDS,
         "Failed to execute HCI Reset", MINIDRIVER_WRITE},
        {"Write RAM of the minidriver", "write:1", MINIDRIVER_WRITE, DOWNLOAD_SECONDS,
         MINIDRIVER_WRITE,
         "Download minidriver error trying to write 8 bytes to address 0x00200020"},
        {"Launch RAM of the minidriver", "launch:1", "Launch minidriver at 0x00200000 failed",
         DOWNLOAD_SECONDS, "Launch minidriver at 0x00200000 failed", nullptr},
        {"Chip erase", "erase:1", "Chip erase timeout (nLastProgressReportTime)",
         ERASE_WAIT_SECONDS, "Rx buffer full!", firmwareWrite.c_str()},
        {"Write RAM of firmware", "write:3", firmwareWrite.c_str(), DOWNLOAD_SECONDS,
         firmwareWrite.c_str(), nextFirmwareWrite.c_str()},
        {"CRC request", "crc:1", CRC_TIMEOUT, DOWNLOAD_SECONDS, CRC_TIMEOUT, configWrite.c_str()},
        {"Write RAM of configuration", "write:7", configWrite.c_str(), DOWNLOAD_SECONDS,
         configWrite.c_str(), nextConfigWrite.c_str()},
        {"Read RAM of firmware", "read:1", firmwareRead.c_str(), DOWNLOAD_SECONDS,
         firmwareOverflow.c_str(), nextFirmwareRead.c_str()},
        {"Read RAM of configuration", "read:5", configRead.c_str(), DOWNLOAD_SECONDS,
         configOverflow.c_str(), nextConfigRead.c_str()},
        {"Launch RAM at the end", "launch:2", "Chip reset to address 0x00500000 failed ",
         DOWNLOAD_SECONDS, "Chip reset to address 0x00500000 failed RxOverflow", nullptr},
        {"Patch record", "patch:1", " patch record transmission failed", DOWNLOAD_SECONDS,
         "RxOverflow patch record transmission failed", " patch record transmission failed"},
        {"Signature record", "signature:1", "Signature record transmission failed",
         DOWNLOAD_SECONDS, "RxOverflowSignature record transmission failed", nullptr},
        {"Reset notification", "resetntf:1", "  Failure waiting for the NCI_RESET_NTF notification",
         DOWNLOAD_SECONDS, "RxOverflow  Failure waiting for the NCI_RESET_NTF notification",
         nullptr},
    };
    return targets;
}

bool IsOfPatchDownload(const FAULT_TARGET& target) {
    const std::string_view selector = target.selector;
    return selector == "patch:1" || selector == "signature:1" || NeedsResetNotification(target);
}

bool NeedsResetNotification(const FAULT_TARGET& target) {
    return std::string_view(target.selector) == "resetntf:1";
}

std::vector<FAULT_KIND> FaultKindsOf(const FAULT_TARGET& target) {
    const bool isNci = IsOfPatchDownload(target);
    std::vector<FAULT_KIND> kinds = {
        {"no reply", "drop"},
        {"reply 40 ms late", "late=40"},
        {"reply 900 ms late", "late=900"},
        {"reply in 3 pieces, 5 ms apart", "pieces=3,5"},
        {"reply twice", "twice"},
        {"a bit of the reply's indicator wrong", "flip=4"},
        {"a bit of the reply's status wrong", isNci ? "flip=32" : "flip=48"},
        {"an event that nobody asked for before it", "event"},
        {"4 bytes of noise before it", "noise-before=4"},
        {"4 bytes of noise after it", "noise-after=4"},
        {"only half of the reply", "cut"},
        {"silence for ever", "silence"},
        {"a flood of 200,000 bytes before it", "flood=200000"},
        {"the port hangs up", "hangup"},
    };
    if (!NeedsResetNotification(target)) {  // which is no reply, and nothing follows it
        kinds.push_back({"a wrong status", "status=12"});
        kinds.push_back({"the chip then reads nothing for 40 ms", "slow=40"});
        kinds.push_back({"the chip then reads nothing for 900 ms", "slow=900"});
    }
    if (IsRead(target)) {
        kinds.push_back({"a wrong byte read back", "baddata"});
    }
    if (IsCRC(target)) {
        kinds.push_back({"a wrong CRC", "badcrc"});
    }
    return kinds;
}

FAULT_OUTCOME ExpectedOutcome(const FAULT_TARGET& target, const FAULT_KIND& kind) {
    if (Is(kind, "late=900")) {
        return WaitsLong(target) ? Recovers() : GetsNoReply(target);
    }
    if (Is(kind, "slow=900")) {
        return target.nextNoReply == nullptr ? Recovers() : FailsWith(target.nextNoReply);
    }
    if (Is(kind, "flood=200000")) {
        return Overflows(target);
    }
    // A read-back is compared from the first byte received on, so whatever comes before the reply
    // shifts it. Everything else is a pattern that is searched for.
    if (IsRead(target)) {
        if (Is(kind, "flip=4")) {
            return GetsNoReply(target);
        }
        if (Is(kind, "event")) {
            return FailsWith(Mismatch(target, "0x04"));
        }
        if (Is(kind, "noise-before=4")) {
            return FailsWith(Mismatch(target, "0x01"));
        }
        if (Is(kind, "baddata")) {
            const bool isFirmware = std::string_view(target.selector) == "read:1";
            return FailsWith(Mismatch(target, isFirmware ? "0xFF" : "0x7F"));
        }
    }
    if (Is(kind, "badcrc")) {
        return FailsWith(
            "CRC mismatch while checking 104 bytes starting at address 0x00500000; "
            "host computed D2B2ECF3, firmware computed D2B2ECF2");
    }
    // The indicator is part of the pattern of an NCI packet, not of that of an HCI event.
    if (IsOfPatchDownload(target) && Is(kind, "flip=4")) {
        return GetsNoReply(target);
    }
    for (const char* lost :
         {"drop", "flip=32", "flip=48", "status=12", "cut", "silence", "hangup"}) {
        if (Is(kind, lost)) {
            return GetsNoReply(target);
        }
    }
    return Recovers();
}

std::string FaultTableAsMarkdown() {
    std::string text =
        "# What a download makes of faults on the line\n"
        "\n"
        "Each row is a fault that the simulated chip plays for one command of a download, each\n"
        "section a command of the standard download or, at the end, of a patch download. "
        "\"recovers\" means that the download ends with status 0 and every\n"
        "byte in the chip; else the program ends with status 241 and the text. In no case does\n"
        "the chip hold a byte that is not from the files, and no case takes longer than the\n"
        "seconds given, on a busy machine with a sanitizer at work.\n"
        "\n"
        "The same table drives the tests (`tests/faults`), which check that this page is true.\n"
        "Try a cell yourself with `chipsim --fault`, see [chipsim.md](chipsim.md).\n";
    for (const FAULT_TARGET& target : FaultTargets()) {
        text.append("\n## ").append(target.name).append(" (").append(InCode(target.selector));
        text += ")\n\n| Fault | `--fault` | Outcome | Seconds at most |\n|---|---|---|---|\n";
        for (const FAULT_KIND& kind : FaultKindsOf(target)) {
            const FAULT_OUTCOME outcome = ExpectedOutcome(target, kind);
            text.append("| ").append(kind.name).append(" | `").append(target.selector);
            text.append(":").append(kind.fault).append("` | ");
            text += outcome.error.empty() ? "recovers" : InCode(outcome.error);
            if (outcome.orError != outcome.error) {
                text.append(" or ").append(InCode(outcome.orError));
            }
            text.append(" | ").append(std::to_string(static_cast<int>(outcome.seconds)));
            text += " |\n";
        }
    }
    return text;
}
