#include "app/UsageText.h"

#include <string>

#include "os/Terminal.h"

namespace {

// Users' scripts and eyes know this text, its unkept promises included; it stays word for word.
constexpr const char* BEFORE_FORMATS[] = {
    "Calling format (2 variations): ",
    " either",
};

constexpr const char* RULES_FORMAT =
    " -RULES rulefile [-RULES rulefile2] ... [-RULES rulefileN] [-PORT portid] [-BAUDRATE nnnn] "
    "[-MINIDRIVER minidriverfile] [-CONFIG configdatafile] [-FIRMWARE firmwarefile] [-LOGTO "
    "optionallogfile] [-DLMINIDRIVERCHUNKSIZE bytesize] [more options]";
constexpr const char* VINTOR_FORMAT =
    " -VINTORMODE [-BAUDRATE nnnn] [-MINIDRIVER minidriverfile] [-CONFIG configdatafile] "
    "[-FIRMWARE firmwarefile] [-VNP vnpfilename] [-NODLMINIDRIVER] [-LOGTO optionallogfile] "
    "[-DLMINIDRIVERCHUNKSIZE bytesize] [more options]";

constexpr const char* EXPLANATIONS[] = {
    "  where ",
    "",
    "    For the first variation, at least one rulefile is mandatory -- ",
    "    it provides the information controlling the download process.",
    "    This can be a VNP file or some other future file format.",
    "    When multiple rule files are specified, then they will be processed",
    "    in the order listed on the command line, with later files overriding",
    "    the earlier ones, if the same information exists in more than one place.",
    "    Some of the fields stored in a rule file may be identical to",
    "    those specified on the command line.",
    "    In general, command-line arguments will override rule file entries.",
    "",
    // NOLINTNEXTLINE(bugprone-suspicious-missing-comma): one line of the text, too long for ours
    "    For the second variation (-VINTORMODE) no rules are specified and the downloading "
    "proceeds ",
    "    in the same way as in Vintor. In the simplest case, the VNP file is not specified",
    "    and the config and firmware are in the Intel hex format.",
    "",
    "    PORT is a standard platform-specific transport specifier, e.g. COM3 or USB1",
    "    In the Vintor-compatible case, PORT must be specified. However, with some",
    "    future setups, the PORT information may be stored in the rulefile as well.",
    "",
    "    BAUDRATE, just like PORT, is a platform-specific speed specification, e.g. 115200",
    "    In the Vintor-compatible case with UART, BAUDRATE must be specified. However, in other",
    "    setups, the BAUDRATE may be stored in the rulefile.",
    "",
    "    LOGTO is an optional parameter allowing to print stdout info to a text file",
    "",
    "    NODLMINIDRIVER is an optional parameter that prevents the DownloadMinidriver command from "
    "being issued",
    "",
    "    ERASE is an optional parameter that forces the CHIP ERASE execution REGARDLESS of what is "
    "specified in the VNP file (overriding the VNP setting)",
    "",
    "    NOERASE is an optional parameter that prevents the CHIP ERASE execution REGARDLESS of "
    "what is specified in the VNP file (overriding the VNP setting)",
    "",
    "    WRITE is an optional parameter that forces the writing of bytes to the device REGARDLESS "
    "of what is specified in the VNP file (overriding the VNP setting)",
    "",
    "    NOWRITE is an optional parameter that prevents writing of the bytes REGARDLESS of what is "
    "specified in the VNP file (overriding the VNP setting)",
    "",
    "    VERIFY is an optional parameter that forces verification of the bytes REGARDLESS of what "
    "is specified in the VNP file (overriding the VNP setting)",
    "",
    "    CHECKCRC is an optional parameter that directs the Tessant to do CRC checks on loaded "
    "areas",
    "",
    "    NOVERIFY is an optional parameter that prevents verification of the bytes REGARDLESS of "
    "what is specified in the VNP file (overriding the VNP setting)",
    "",
    "    DLMINIDRIVERCHUNKSIZE is an optional parameter to override the download chunk size "
    "(1..251) for the minidriver downloading phase",
    "    By default it uses the same size as specified by the DLMaxWriteSize parameter in the VNP "
    "file",
    "",
    "    There must be at least one configuration data file or firmware file",
    "    specified since these files provide the actual data bytes to be loaded.",
    "    In the Vintor-compatible case, there can be at most one of each.",
    "    Moreover, in this case, these files can be specified inside the VNP.",
    "    For some future configurations, multiple config and/or firmware files",
    "    may be used as long as the RULES explain how these files are to be loaded.",
    "    The firmware will be in the intel hex format or some other format that",
    "    has the address information.",
    "",
    "    the minidriver file is optional, and there can be at most one.",
    "    Just like firmware, it will be in the intel hex or similar format.",
    "",
    "",
    "    Note that text files with rules or payload data such as CGS, VNP, etc. may",
    "    be provided in the raw text form or in the binary encrypted form.",
    "",
    "",
    "",
    "",
};

}  // namespace

void PrintUsage(FILE* stream, const char* programName) {
    const std::string name = CTerminal(stream).Shown(programName);
    for (const char* line : BEFORE_FORMATS) {
        std::fprintf(stream, "%s\n", line);
    }
    std::fprintf(stream, "    %s%s\n", name.c_str(), RULES_FORMAT);
    std::fprintf(stream, " or\n");
    std::fprintf(stream, "    %s%s\n", name.c_str(), VINTOR_FORMAT);
    for (const char* line : EXPLANATIONS) {
        std::fprintf(stream, "%s\n", line);
    }
}
