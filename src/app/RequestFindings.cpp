#include "app/RequestFindings.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "download/ChipDownloader.h"
#include "image/AddressMap.h"
#include "transport/PortTypes.h"
#include "util/FormatText.h"
#include "util/NumberText.h"
#include "util/TextCase.h"

namespace {

using enum FindingSeverity;

// Collects findings about the command line; what is not about it names its file.
class CRequestScan {
public:
    CRequestScan(const CRequest& request, const CChipImageLoadingInformation& info,
                 const CRunPlan& plan)
        : m_Request(request),
          m_Info(info),
          m_Plan(plan),
          m_strRuleFile(info.GetRules() == nullptr ? "" : info.GetRules()->GetFileName()) {}

    std::vector<CFinding> Run() {
        LookAtPort();
        LookAtOutputs();
        if (m_Request.m_bVintorMode) {
            LookAtPhases();
            LookAtMinidriver();
            LookAtMessages();
            LookAtRecords();
            LookAtFilesOfRules();
            LookAtOverlaps();
        } else {
            LookAtCustom();
        }
        return std::move(m_Findings);
    }

private:
    void Add(FindingSeverity severity, std::string what, std::string why,
             const std::string& file = "") {
        m_Findings.push_back({severity, {file}, std::move(what), std::move(why)});
    }

    void LookAtPort() {
        PortTypes type = PORT_TYPE_UNKNOWN;
        std::string ignored;
        if (m_Request.m_strPort.empty()) {
            Add(ERROR, "-PORT is missing", "The run ends with status 254");
        } else if (!IdentifyPortType(m_Request.m_strPort.c_str(), &type, &ignored)) {
            Add(ERROR, "-PORT " + m_Request.m_strPort + " does not start with /dev/tty",
                "The run ends with status 254");
        }
        if (!m_Request.m_strBaudRate.empty() && m_Request.m_strBaudRate != "115200") {
            Add(WARNING, "-BAUDRATE " + m_Request.m_strBaudRate + " has no effect",
                "The line always runs at 115200 baud");
        }
    }

    void LookAtOutputs() {
        for (const std::string& output : {std::string(m_Request.m_Descriptor.GetLogFileName()),
                                          m_Request.m_strCaptureFile, m_Request.m_strReportFile}) {
            const std::filesystem::path folder = std::filesystem::path(output).parent_path() / "";
            if (!output.empty() && ::access(folder.empty() ? "." : folder.c_str(), W_OK) != 0) {
                Add(output == m_Request.m_Descriptor.GetLogFileName() ? WARNING : ERROR,
                    "No file can be written into the folder of " + output,
                    "There will be no such file");
            }
        }
    }

    void LookAtPhases() {
        const CDownloadRulesSet* rules = m_Info.GetRules();
        const char* eraseMode =
            rules == nullptr ? nullptr : rules->GetDownloadParameter("DLSectorEraseMode");
        const bool isErased = m_Plan.m_strMemory == "FLASH" || m_Plan.m_strMemory == "EEPROM";
        const bool mayErase = m_Request.m_Erase != OPTION_OFF && !isErased;
        if (mayErase && m_Request.m_Erase == OPTION_ON) {
            Add(ERROR, "-ERASE erases nothing",
                rules == nullptr ? "No rule file says that the memory is FLASH or EEPROM"
                                 : "The rules do not say that the memory is FLASH or EEPROM");
        } else if (mayErase && eraseMode != nullptr && EqualIgnoringCase(eraseMode, "Chip erase")) {
            Add(ERROR, "DLSectorEraseMode = Chip erase erases nothing",
                "DLConfigTargeting does not say that the memory is FLASH or EEPROM", m_strRuleFile);
        }
        if (rules != nullptr && rules->GetDownloadParameter("DLConfigTargeting") == nullptr) {
            Add(ERROR, "DLConfigTargeting is missing",
                "The run ends with status 241 after the first commands were sent", m_strRuleFile);
        }
        LookAtWriting();
    }

    void LookAtWriting() {
        const auto plans = [this](const char* phase) {
            return std::any_of(m_Plan.m_Phases.begin(), m_Plan.m_Phases.end(),
                               [&](const std::string& name) { return name.starts_with(phase); });
        };
        if (!plans("write") && m_Request.m_CheckCRC == OPTION_ON) {
            Add(ERROR, "-CHECKCRC checks nothing", "The check follows the writing, which is off");
        }
        if (!plans("write") && !plans("read back")) {
            Add(ERROR, "Nothing is written and nothing is read back",
                "The chip keeps what it holds and is launched");
        } else if (!plans("write") && m_Request.m_Write != OPTION_OFF) {
            Add(WARNING, "The rules turn writing off", "DLWriteVerifyMode holds no WRITE",
                m_strRuleFile);
        }
        if (plans("chip erase") && !plans("write")) {
            Add(ERROR, "The chip is erased and nothing is written", "It is empty after the run");
        }
    }

    void LookAtMinidriver() {
        const bool hasMinidriver = m_Request.m_Descriptor.CountMinidriverFiles() > 0;
        if (m_Request.m_nMinidriverChunkSize != 0 && !hasMinidriver) {
            Add(WARNING, "-DLMINIDRIVERCHUNKSIZE has no effect", "There is no -MINIDRIVER");
        }
        for (const CPlannedFile& file : m_Plan.m_Files) {
            const auto named = file.m_pImage->GetFileFacts().m_LaunchAddress;
            const unsigned int launched = MinidriverLaunchAddress(*file.m_pImage);
            if (file.m_strKind == "minidriver" && named && *named != launched) {
                Add(WARNING, FormatText("The minidriver names the start address 0x%08X", *named),
                    FormatText("It is launched at 0x%08X; only an HCD launch record counts, and "
                               "only inside the minidriver",
                               launched),
                    file.m_strName);
            }
        }
    }

    // The download drops a message that lacks a brace, and all after it.
    void LookAtMessages() {
        const CDownloadRulesSet* rules = m_Info.GetRules();
        const char* rest =
            rules == nullptr ? nullptr : rules->GetDownloadParameter("CustomVintorPreloadMessages");
        while (rest != nullptr && std::string(rest).find_first_of("{}") != std::string::npos) {
            std::string groups[3];
            rest = CChipDownloader::ExtractNextByteSequenceToSend(rest, &groups[0], &groups[1],
                                                                  &groups[2]);
            const std::string error = rest == nullptr ? "A brace is missing"
                                                      : CChipDownloader::CheckPreloadMessage(
                                                            groups[0], groups[1], groups[2]);
            if (!error.empty()) {
                Add(ERROR, "CustomVintorPreloadMessages: " + error,
                    rest == nullptr ? "This message and all after it are not sent"
                                    : "The run ends with status 241",
                    m_strRuleFile);
                return;
            }
        }
    }

    // Of several files that a record size does not suit, one is enough.
    void LookAtRecords() {
        for (const CPlannedFile& file : m_Plan.m_Files) {
            if (file.m_bStalls) {
                Add(ERROR, "DLMaxWriteSize makes empty records of " + file.m_strName,
                    "The run does not end; 1 to 251 is valid", m_strRuleFile);
                return;
            }
            if (file.m_nRefusedSize != 0) {
                Add(ERROR,
                    FormatText("DLMaxWriteSize makes a record of %u bytes of ",
                               file.m_nRefusedSize) +
                        file.m_strName,
                    "Chips refuse more than 251", m_strRuleFile);
                return;
            }
        }
        const CDownloadRulesSet* rules = m_Info.GetRules();
        unsigned int size = 0;
        if (rules != nullptr &&
            TryToGetUIntValue(rules->GetDownloadParameter("DLMaxWriteSize"), &size) &&
            (size == 0 || size > 251)) {
            Add(WARNING, FormatText("DLMaxWriteSize = %d", static_cast<int>(size)),
                "1 to 251 is valid; with larger files the run fails or does not end",
                m_strRuleFile);
        }
    }

    // The rules may name files for other programs; this one takes them from the command line.
    void LookAtFilesOfRules() {
        const CDownloadRulesSet* rules = m_Info.GetRules();
        const struct {
            const char* m_szFlag;
            const char* m_szPath;
            const char* m_szOption;
            unsigned int m_nFiles;
        } kinds[] = {
            {"DLMinidriver", "DLMinidriverPathUART", "-MINIDRIVER",
             m_Request.m_Descriptor.CountMinidriverFiles()},
            {"DLConfig", "ConfigPath", "-CONFIG", m_Request.m_Descriptor.CountConfigDataFiles()},
            {"DLFirmware", "FirmwarePath", "-FIRMWARE",
             m_Request.m_Descriptor.CountFirmwareFiles()}};
        for (const auto& [flag, path, option, files] : kinds) {
            if (rules != nullptr && files == 0 &&
                GetIntValue(rules->GetDownloadParameter(flag)) != 0 &&
                rules->GetDownloadParameter(path) != nullptr) {
                Add(WARNING, std::string(path) + " names a file that is not loaded",
                    std::string("Files are named on the command line: ") + option, m_strRuleFile);
            }
        }
    }

    // One finding for each pair of files. Overlaps within a file are found with the file.
    void LookAtOverlaps() {
        std::vector<const CChipImageByteData*> images;
        for (const CPlannedFile& file : m_Plan.m_Files) {
            images.push_back(file.m_pImage);
        }
        std::set<std::pair<std::uint32_t, std::uint32_t>> found;
        const CAddressMap map(images);
        for (const CAddressOverlap& overlap : map.Overlaps()) {
            const auto [first, second] =
                std::minmax(overlap.m_nEarlierSource, overlap.m_nLaterSource);
            if (first != second && found.emplace(first, second).second) {
                Add(overlap.m_bDiffers ? ERROR : WARNING,
                    FormatText("%08X..%08X is also an area of ", overlap.m_nFirst,
                               overlap.m_nLast) +
                        m_Plan.m_Files[first].m_strName,
                    overlap.m_bDiffers
                        ? "They hold different bytes; those that are written later stay"
                        : "Both hold the same bytes",
                    m_Plan.m_Files[second].m_strName);
            }
        }
    }

    void LookAtCustom() {
        if (CustomDownloadType(m_Request) == nullptr) {
            Add(ERROR, "-VINTORMODE is missing",
                "Without it, and without CustomDownload in the rules, nothing is loaded and the "
                "run does not end");
            return;
        }
        const std::pair<const char*, BooleanOptions> options[] = {
            {"-ERASE", m_Request.m_Erase},
            {"-VERIFY", m_Request.m_Verify},
            {"-CHECKCRC", m_Request.m_CheckCRC}};
        for (const auto& [name, value] : options) {
            if (value == OPTION_ON) {
                Add(ERROR, std::string(name) + " has no effect",
                    "A custom download neither erases nor checks");
            }
        }
        if (m_Request.m_Write == OPTION_OFF) {
            Add(ERROR, "-NOWRITE has no effect", "A custom download always writes");
        }
    }

    const CRequest& m_Request;
    const CChipImageLoadingInformation& m_Info;
    const CRunPlan& m_Plan;
    std::string m_strRuleFile;
    std::vector<CFinding> m_Findings;
};

}  // namespace

std::vector<CFinding> FindInRequest(const CRequest& request,
                                    const CChipImageLoadingInformation& info,
                                    const CRunPlan& plan) {
    return CRequestScan(request, info, plan).Run();
}
