#include "app/Arguments.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>

#include "app/UsageText.h"
#include "os/OSTime.h"
#include "os/Terminal.h"
#include "transport/LineCapture.h"
#include "util/FormatText.h"
#include "util/NumberText.h"
#include "util/TextCase.h"
#include "util/TextLines.h"

bool g_bRecordDownloadTimeInFile = false;

namespace {

namespace fs = std::filesystem;

constexpr unsigned int MAX_MINIDRIVER_CHUNK_SIZE = 251;  // what fits a Write RAM command

// The functions that take an option return an error text, empty on success. Switches ignore value.
template <auto MEMBER, auto VALUE>
std::string Set(CRequest& request, const char* /*value*/) {
    request.*MEMBER = VALUE;
    return {};
}

std::string RecordTimes(CRequest& /*request*/, const char* /*value*/) {
    g_bRecordDownloadTimeInFile = true;
    return {};
}

std::string LoadRuleSet(CRequest& request, const char* path) {
    CDownloadRulesSet rules("");
    std::string error = rules.LoadFromDownloadParametersFile(path);
    if (error.empty()) {
        request.m_Descriptor.AddRuleSet(rules);
        const std::string pathAndPreset = path;
        request.m_Inputs.push_back(pathAndPreset.substr(0, pathAndPreset.find('@')));
        // Rule files are called VNP files in Vintor mode.
        request.m_strVnpFileName = request.m_bVintorMode ? pathAndPreset : "";
    }
    return error;
}

std::string TakeRules(CRequest& request, const char* path) {
    return request.m_bVintorMode ? "RULES files not allowed with VINTORMODE option!"
                                 : LoadRuleSet(request, path);
}

std::string TakePort(CRequest& request, const char* value) {
    request.m_strPort = value;
    request.m_strTransportParameters += " PORT=" + request.m_strPort + "\n";
    return {};
}

// NFC parts have no flow control; the mark is not part of the rate itself.
std::string TakeBaudRate(CRequest& request, const char* value) {
    request.m_strBaudRate = UpperCaseCopy(value);
    const std::size_t mark = request.m_strBaudRate.find("NFC");
    if (mark != std::string::npos) {
        request.m_strBaudRate.erase(mark);
        request.m_strTransportParameters += " RTS=1\n  CTS=0\n  NOFLOWCONTROL=1\n";
    }
    request.m_strTransportParameters += " BAUDRATE=" + request.m_strBaudRate + "\n";
    return {};
}

std::string TakeMinidriverChunkSize(CRequest& request, const char* value) {
    unsigned int size = 0;
    if (!TryToGetUIntValue(value, &size) || size > MAX_MINIDRIVER_CHUNK_SIZE) {
        return std::string("Invalid UINT value for DLMINIDRIVERCHUNKSIZE argument ") + value;
    }
    request.m_nMinidriverChunkSize = size;
    return {};
}

// The first "TIMESTAMP" becomes the time of day. The date in it is always zero, because the clock
// gives none; scripts look for log files by that form.
std::string TakeLogFile(CRequest& request, const char* value) {
    constexpr std::string_view MARK = "TIMESTAMP";
    std::string name = value;
    const std::size_t mark = name.find(MARK);
    if (mark != std::string::npos) {
        dth now;
        GetCurrentOSTime(&now);
        name.replace(mark, MARK.size(),
                     FormatText("%4d-%02d-%02d_%02d%02d%02d", now.year, now.month, now.day,
                                now.hour, now.minute, now.second));
    }
    request.m_Descriptor.SetLogFileName(name);
    return {};
}

std::string TakeCaptureFile(CRequest& request, const char* value) {
    request.m_strCaptureFile = value;
    return *value == '\0' ? "Capture file has no name" : "";
}

std::string TakeReportFile(CRequest& request, const char* value) {
    request.m_strReportFile = value;
    return *value == '\0' ? "Report file has no name" : "";
}

constexpr char MINIDRIVER[] = "Minidriver";
constexpr char FIRMWARE[] = "Firmware";
constexpr char CONFIG[] = "Config";

template <const char* KIND, void (CChipDownloadDescriptor::*ADD)(std::string)>
std::string TakeDataFile(CRequest& request, const char* path) {
    if (!DoesFileExist(path)) {
        return std::string(KIND) + " file not found -- " + path;
    }
    (request.m_Descriptor.*ADD)(path);
    request.m_Inputs.emplace_back(path);
    return {};
}

bool IsFirst(const CRequest& /*request*/, int position) {
    return position == 1;
}

bool IsVintorMode(const CRequest& request, int /*position*/) {
    return request.m_bVintorMode;
}

// An empty value or a 0 leaves the option open to be given again.
template <auto MEMBER>
bool IsStillOpen(const CRequest& request, int /*position*/) {
    return request.*MEMBER == std::decay_t<decltype(request.*MEMBER)>();
}

constexpr bool SWITCH = false;
constexpr bool VALUE = true;

struct COption {
    const char* m_szName;
    bool m_bTakesValue;
    std::string (*m_pTake)(CRequest& request, const char* value);
    // Where this is false for the request so far, the option is not recognized.
    bool (*m_pIsAllowed)(const CRequest& request, int position) = nullptr;
};

constexpr COption OPTIONS[] = {
    {"VINTORMODE", SWITCH, Set<&CRequest::m_bVintorMode, true>, IsFirst},
    {"NODLMINIDRIVER", SWITCH, Set<&CRequest::m_bIssueDownloadMinidriver, false>},
    {"RECORDDLTIME", SWITCH, RecordTimes},
    {"WRITE", SWITCH, Set<&CRequest::m_Write, OPTION_ON>},
    {"ERASE", SWITCH, Set<&CRequest::m_Erase, OPTION_ON>},
    {"VERIFY", SWITCH, Set<&CRequest::m_Verify, OPTION_ON>},
    {"CHECKCRC", SWITCH, Set<&CRequest::m_CheckCRC, OPTION_ON>},
    {"NOWRITE", SWITCH, Set<&CRequest::m_Write, OPTION_OFF>},
    {"NOERASE", SWITCH, Set<&CRequest::m_Erase, OPTION_OFF>},
    {"NOVERIFY", SWITCH, Set<&CRequest::m_Verify, OPTION_OFF>},
    {"RULES", VALUE, TakeRules},
    {"VNP", VALUE, LoadRuleSet, IsVintorMode},
    {"PORT", VALUE, TakePort, IsStillOpen<&CRequest::m_strPort>},
    {"DLMINIDRIVERCHUNKSIZE", VALUE, TakeMinidriverChunkSize,
     IsStillOpen<&CRequest::m_nMinidriverChunkSize>},
    {"BAUDRATE", VALUE, TakeBaudRate, IsStillOpen<&CRequest::m_strBaudRate>},
    {"MINIDRIVER", VALUE,
     TakeDataFile<MINIDRIVER, &CChipDownloadDescriptor::AddMinidriverFileName>},
    {"FIRMWARE", VALUE, TakeDataFile<FIRMWARE, &CChipDownloadDescriptor::AddFirmwareFileName>},
    {"LOGTO", VALUE, TakeLogFile},
    {"CAPTURETO", VALUE, TakeCaptureFile},
    {"REPORTTO", VALUE, TakeReportFile},
    {"CONFIG", VALUE, TakeDataFile<CONFIG, &CChipDownloadDescriptor::AddConfigDataFileName>},
};

// Those that make sense where memory is read in place of a download.
constexpr std::string_view READOUT_OPTIONS[] = {
    "NODLMINIDRIVER", "VNP",       "PORT",    "DLMINIDRIVERCHUNKSIZE", "BAUDRATE", "MINIDRIVER",
    "LOGTO",          "CAPTURETO", "REPORTTO"};

const COption* FindOption(const std::string& name, const CRequest& request, int position) {
    const auto* option =
        std::find_if(std::begin(OPTIONS), std::end(OPTIONS), [&](const COption& candidate) {
            return name == candidate.m_szName &&
                   (candidate.m_pIsAllowed == nullptr || candidate.m_pIsAllowed(request, position));
        });
    return option == std::end(OPTIONS) ? nullptr : option;
}

// Whether writing to one destroys the other; one of them need not exist yet. Devices and pipes may
// have both names.
bool IsSameFile(const fs::path& one, const fs::path& other) {
    std::error_code ignored;
    if (fs::exists(one, ignored) && !fs::is_regular_file(one, ignored)) {
        return false;
    }
    const auto resolved = [&](const fs::path& path) {
        return fs::weakly_canonical(fs::absolute(path, ignored), ignored);
    };
    return fs::equivalent(one, other, ignored) || resolved(one) == resolved(other);
}

std::string CheckOutputs(const CRequest& request) {
    std::vector<std::pair<const char*, std::string>> others;
    for (const std::string& input : request.m_Inputs) {
        others.emplace_back("input", input);
    }
    for (const std::string output :
         {request.m_Descriptor.GetLogFileName(), request.m_strCaptureFile.c_str(),
          request.m_strReportFile.c_str(), request.m_strMemoryFile.c_str(),
          g_bRecordDownloadTimeInFile ? DOWNLOAD_TIMES_FILE : ""}) {
        for (const auto& [kind, other] : others) {
            if (!output.empty() && IsSameFile(output, other)) {
                return FormatText("Output file %s is the same file as %s file %s", output.c_str(),
                                  kind, other.c_str());
            }
        }
        others.emplace_back("output", output);
    }
    return {};
}

std::string CheckCaptureFormat(const CRequest& request) {
    return CLineCapture::IsBtsnoop(request.m_strCaptureFile) && CustomDownloadType(request)
               ? "A btsnoop file cannot hold the packets of a custom download -- " +
                     request.m_strCaptureFile
               : "";
}

}  // namespace

std::string ReadOptions(int argc, char** argv, CRequest& request) {
    for (int i = 1; i < argc;) {
        const std::string argument = argv[i];
        if (!argument.starts_with('-') && !argument.starts_with('/')) {
            return "Unexpected argument " + argument;
        }
        const std::string name = UpperCaseCopy(argument.substr(1));
        if (request.m_pReadout != nullptr &&
            std::ranges::find(READOUT_OPTIONS, name) == std::end(READOUT_OPTIONS)) {
            return "--read and --crc do not take " + argument;
        }
        const COption* option = FindOption(name, request, i);
        if (option == nullptr) {
            return "Unrecognized command-line argument " + name;
        }
        // Whatever comes next is the value, even the name of an option.
        const bool hasValue = option->m_bTakesValue && i + 1 < argc;
        std::string error = option->m_pTake(request, hasValue ? argv[i + 1] : "");
        if (!error.empty()) {
            return error;
        }
        i += option->m_bTakesValue ? 2 : 1;
    }
    const std::string error = CheckOutputs(request);
    return error.empty() ? CheckCaptureFormat(request) : error;
}

std::optional<bool> DoesOptionTakeValue(const std::string& argument) {
    if (!argument.starts_with('-') && !argument.starts_with('/')) {
        return std::nullopt;
    }
    const std::string name = UpperCaseCopy(argument.substr(1));
    for (const COption& option : OPTIONS) {
        if (name == option.m_szName) {
            return option.m_bTakesValue;
        }
    }
    return std::nullopt;
}

std::string ReadRequest(int argc, char** argv, CRequest& request) {
    std::string error = ReadOptions(argc, argv, request);
    if (!error.empty()) {
        std::fprintf(stderr, "ERROR! %s\n\n\n", CTerminal(stderr).Shown(error).c_str());
    }
    if (!error.empty() || argc <= 1) {
        PrintUsage(stderr, argc > 0 ? argv[0] : "hciload");
    }
    return error;
}

std::string ProcessArgsAndPrepare(int argc, char** argv, std::string* transportParameters,
                                  CChipDownloadDescriptor* descriptor, bool* vintorMode,
                                  bool* issueDownloadMinidriverCommand, std::string* vnpFileName,
                                  BooleanOptions* erase, BooleanOptions* write,
                                  BooleanOptions* verify, BooleanOptions* checkCRC,
                                  unsigned int* dlMinidriverChunkSize) {
    CRequest request;
    request.m_Descriptor = *descriptor;
    request.m_CheckCRC = *checkCRC;
    std::string error = ReadRequest(argc, argv, request);
    *transportParameters = request.m_strTransportParameters;
    *descriptor = request.m_Descriptor;
    *vintorMode = request.m_bVintorMode;
    *issueDownloadMinidriverCommand = request.m_bIssueDownloadMinidriver;
    *vnpFileName = request.m_strVnpFileName;
    *erase = request.m_Erase;
    *write = request.m_Write;
    *verify = request.m_Verify;
    *checkCRC = request.m_CheckCRC;
    *dlMinidriverChunkSize = request.m_nMinidriverChunkSize;
    return error;
}
