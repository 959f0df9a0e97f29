#include "app/Arguments.h"

#include <cstdio>
#include <iterator>

#include "app/UsageText.h"
#include "os/OSTime.h"
#include "rules/ChipDownloadDescriptor.h"
#include "util/FormatText.h"
#include "util/NumberText.h"
#include "util/TextCase.h"
#include "util/TextLines.h"

bool g_bRecordDownloadTimeInFile = false;

namespace {

constexpr unsigned int MAX_MINIDRIVER_CHUNK_SIZE = 251;  // what fits a Write RAM command

// Where the options put what they say.
struct CArgumentOutputs {
    std::string* m_pTransportParameters;
    CChipDownloadDescriptor* m_pDescriptor;
    bool* m_pVintorMode;
    bool* m_pIssueDownloadMinidriver;
    std::string* m_pVnpFileName;
    BooleanOptions* m_pErase;
    BooleanOptions* m_pWrite;
    BooleanOptions* m_pVerify;
    BooleanOptions* m_pCheckCRC;
    unsigned int* m_pMinidriverChunkSize;
};

// Takes the options one by one. Each operation for an option with a value returns an error text,
// empty on success.
class CArgumentReader {
public:
    explicit CArgumentReader(const CArgumentOutputs& outputs) : m_Out(outputs) {}

    // Whether name is an option without a value; its effect is then done.
    bool TakeSwitch(const std::string& name, bool isFirstArgument) {
        if (name == "VINTORMODE") {
            // Only in front: what follows depends on it.
            *m_Out.m_pVintorMode = *m_Out.m_pVintorMode || isFirstArgument;
            return isFirstArgument;
        }
        if (name == "NODLMINIDRIVER") {
            *m_Out.m_pIssueDownloadMinidriver = false;
            return true;
        }
        if (name == "RECORDDLTIME") {
            g_bRecordDownloadTimeInFile = true;
            return true;
        }
        return TakeOverride(name);
    }

    std::string TakeOption(const std::string& name, const char* value) {
        if (name == "RULES") {
            return *m_Out.m_pVintorMode ? "RULES files not allowed with VINTORMODE option!"
                                        : LoadRuleSet(value);
        }
        if (name == "VNP" && *m_Out.m_pVintorMode) {
            return TakeVnpFile(value);
        }
        if (name == "PORT" && m_strPort.empty()) {
            m_strPort = value;
            *m_Out.m_pTransportParameters += " PORT=" + m_strPort + "\n";
            return {};
        }
        if (name == "DLMINIDRIVERCHUNKSIZE" && *m_Out.m_pMinidriverChunkSize == 0) {
            return TakeMinidriverChunkSize(value);
        }
        if (name == "BAUDRATE" && m_strBaudRate.empty()) {
            TakeBaudRate(value);
            return {};
        }
        if (name == "LOGTO") {
            m_Out.m_pDescriptor->SetLogFileName(FillTimeStamp(value));
            return {};
        }
        return TakeDataFile(name, value);
    }

private:
    bool TakeOverride(const std::string& name) {
        const struct {
            const char* m_szName;
            BooleanOptions* m_pOption;
            BooleanOptions m_Value;
        } overrides[] = {
            {"WRITE", m_Out.m_pWrite, OPTION_ON},      {"ERASE", m_Out.m_pErase, OPTION_ON},
            {"VERIFY", m_Out.m_pVerify, OPTION_ON},    {"CHECKCRC", m_Out.m_pCheckCRC, OPTION_ON},
            {"NOWRITE", m_Out.m_pWrite, OPTION_OFF},   {"NOERASE", m_Out.m_pErase, OPTION_OFF},
            {"NOVERIFY", m_Out.m_pVerify, OPTION_OFF},
        };
        for (const auto& entry : overrides) {
            if (name == entry.m_szName) {
                *entry.m_pOption = entry.m_Value;
                return true;
            }
        }
        return false;
    }

    std::string LoadRuleSet(const char* path) {
        CDownloadRulesSet rules("");
        std::string error = rules.LoadFromDownloadParametersFile(path);
        if (error.empty()) {
            m_Out.m_pDescriptor->AddRuleSet(rules);
        }
        return error;
    }

    std::string TakeVnpFile(const char* path) {
        std::string error = LoadRuleSet(path);
        if (error.empty()) {
            *m_Out.m_pVnpFileName = path;
        }
        return error;
    }

    std::string TakeMinidriverChunkSize(const char* value) {
        unsigned int size = 0;
        if (!TryToGetUIntValue(value, &size) || size > MAX_MINIDRIVER_CHUNK_SIZE) {
            return std::string("Invalid UINT value for DLMINIDRIVERCHUNKSIZE argument ") + value;
        }
        *m_Out.m_pMinidriverChunkSize = size;
        return {};
    }

    // NFC parts are driven without flow control; the mark is no part of the rate itself.
    void TakeBaudRate(const char* value) {
        m_strBaudRate = UpperCaseCopy(value);
        const std::size_t mark = m_strBaudRate.find("NFC");
        if (mark != std::string::npos) {
            m_strBaudRate.erase(mark);
            *m_Out.m_pTransportParameters += " RTS=1\n  CTS=0\n  NOFLOWCONTROL=1\n";
        }
        *m_Out.m_pTransportParameters += " BAUDRATE=" + m_strBaudRate + "\n";
    }

    // The first "TIMESTAMP" becomes the time of day. The date part is always zero: the clock of the
    // tool gives no date, and file names are known to look like that.
    static std::string FillTimeStamp(const char* value) {
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
        return name;
    }

    std::string TakeDataFile(const std::string& name, const char* value) {
        using AddFile = void (CChipDownloadDescriptor::*)(std::string);
        constexpr struct {
            const char* m_szName;
            const char* m_szKind;
            AddFile m_pfnAdd;
        } KINDS[] = {
            {"MINIDRIVER", "Minidriver", &CChipDownloadDescriptor::AddMinidriverFileName},
            {"FIRMWARE", "Firmware", &CChipDownloadDescriptor::AddFirmwareFileName},
            {"CONFIG", "Config", &CChipDownloadDescriptor::AddConfigDataFileName},
        };
        for (const auto& kind : KINDS) {
            if (name != kind.m_szName) {
                continue;
            }
            if (!DoesFileExist(value)) {
                return std::string(kind.m_szKind) + " file not found -- " + value;
            }
            (m_Out.m_pDescriptor->*kind.m_pfnAdd)(value);
            return {};
        }
        return "Unrecognized command-line argument " + name;
    }

    CArgumentOutputs m_Out;
    std::string m_strPort;
    std::string m_strBaudRate;
};

void SetInitialValues(const CArgumentOutputs& out) {
    out.m_pTransportParameters->clear();
    *out.m_pVintorMode = false;
    *out.m_pIssueDownloadMinidriver = true;
    out.m_pVnpFileName->clear();
    *out.m_pErase = OPTION_UNSET;
    *out.m_pWrite = OPTION_UNSET;
    *out.m_pVerify = OPTION_UNSET;
    *out.m_pMinidriverChunkSize = 0;
}

std::string ReadArguments(int argc, char** argv, const CArgumentOutputs& outputs) {
    CArgumentReader reader(outputs);
    std::string error;
    int i = 1;
    while (i < argc && error.empty()) {
        const char* argument = argv[i];
        if (*argument != '-' && *argument != '/') {
            return std::string("Unexpected argument ") + argument;
        }
        const std::string name = UpperCaseCopy(argument + 1);
        if (reader.TakeSwitch(name, i == 1)) {
            ++i;
            continue;
        }
        // Whatever comes next is the value, another option's name too.
        error = reader.TakeOption(name, i + 1 < argc ? argv[i + 1] : "");
        i += 2;
    }
    return error;
}

}  // namespace

std::string ProcessArgsAndPrepare(int argc, char** argv, std::string* transportParameters,
                                  CChipDownloadDescriptor* descriptor, bool* vintorMode,
                                  bool* issueDownloadMinidriverCommand, std::string* vnpFileName,
                                  BooleanOptions* erase, BooleanOptions* write,
                                  BooleanOptions* verify, BooleanOptions* checkCRC,
                                  unsigned int* dlMinidriverChunkSize) {
    const CArgumentOutputs outputs = {transportParameters,
                                      descriptor,
                                      vintorMode,
                                      issueDownloadMinidriverCommand,
                                      vnpFileName,
                                      erase,
                                      write,
                                      verify,
                                      checkCRC,
                                      dlMinidriverChunkSize};
    SetInitialValues(outputs);
    std::string error = ReadArguments(argc, argv, outputs);
    if (!error.empty()) {
        std::fprintf(stderr, "ERROR! %s\n\n\n", error.c_str());
    }
    if (!error.empty() || argc <= 1) {
        PrintUsage(stderr, argc > 0 ? argv[0] : "hciload");
    }
    return error;
}
