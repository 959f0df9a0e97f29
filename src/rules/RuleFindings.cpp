#include "rules/RuleFindings.h"

#include <algorithm>
#include <numeric>
#include <span>
#include <string_view>
#include <utility>

#include "rules/VnpFile.h"
#include "util/FileHandle.h"
#include "util/ForeignFormat.h"
#include "util/NameValueTable.h"
#include "util/NumberText.h"
#include "util/TextCase.h"

namespace {

using enum FindingSeverity;

// What a parameter is for, or what its value must be.
enum class ParameterUse { TEXT, NUMBER, POSITIVE, ERASE_MODE, WRITE_MODE, MEMORY };

struct CKnownParameter {
    const char* m_szName;
    ParameterUse m_Use;
};

constexpr CKnownParameter STANDARD[] = {
    {"DLConfigTargeting", ParameterUse::MEMORY},
    {"DLSectorEraseMode", ParameterUse::ERASE_MODE},
    {"DLWriteVerifyMode", ParameterUse::WRITE_MODE},
    {"DLMaxWriteSize", ParameterUse::NUMBER},
    {"CustomVintorPreloadMessages", ParameterUse::TEXT},
};

constexpr CKnownParameter CUSTOM[] = {
    {"CustomDownload", ParameterUse::TEXT},
    {"CustomXAEnableSecure", ParameterUse::NUMBER},
    {"CustomXATimeOutAfterPatchMS", ParameterUse::POSITIVE},
    {"CustomXAMaxWaitForPatchRecMS", ParameterUse::POSITIVE},
    {"CustomXAMaxWaitForSignatureMS", ParameterUse::POSITIVE},
    {"CustomXATimeoutBeforeSignatureMS", ParameterUse::POSITIVE},
    {"CustomXAChunkedBusTxMaxPayloadSize", ParameterUse::POSITIVE},
    {"CustomXAChunkedTxTimeoutMS", ParameterUse::POSITIVE},
    {"CustomXAChunkedRxTimeoutMS", ParameterUse::POSITIVE},
    {"CustomXAChunkedRxMaxTries", ParameterUse::POSITIVE},
};

// Files for chips come with these from other tools. They name files for programs that use the
// library, or describe configuration texts; that they have no effect here is no mistake.
constexpr const char* FOR_OTHERS[] = {
    "DLMinidriver",
    "DLMinidriverPathUART",
    "DLMinidriverPathUSB",
    "DLMinidriverPathSDIO",
    "DLConfig",
    "ConfigPath",
    "DLFirmware",
    "FirmwarePath",
    "DLReadWriteMode",
    "DLConfigFixedHeader",
    "DLConfigSSLocation",
    "ConfigDSLocation",
    "DLConfigVSLocation",
    "DLConfigVSLength",
    "DLConfigBD_ADDRBase",
    "DLConfigCrystalpll_sel",
    "DLConfigCrystalFreqMHzX10000",
    "DLMinPLLFreqOverride",
    "DLMaxPLLFreqOverride",
    "DLConfigOmitRF_PLL",
    "DLConfigOutputPowerAdjust",
    "DLConfigImpedanceMatchTuning",
    "DLConfigIncludeChargerConfig",
    "DLConfigDFUKey",
    "DLConfigIncludeKWNSecurityKey",
};

// The fewest characters to insert, delete or replace that make one text of the other, by
// Levenshtein's method; upper and lower case are the same.
std::size_t EditDistance(std::string_view left, std::string_view right) {
    const std::string one = UpperCaseCopy(left);
    const std::string other = UpperCaseCopy(right);
    std::vector<std::size_t> row(other.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < one.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < other.size(); ++j) {
            const std::size_t replaced = diagonal + (one[i] == other[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, diagonal + 1, row[j] + 1});
        }
    }
    return row.back();
}

// Close enough for a slip.
bool IsMisspelt(std::string_view text, std::string_view meant) {
    const std::size_t distance = EditDistance(text, meant);
    return distance != 0 && distance <= std::max<std::size_t>(2, meant.size() / 5);
}

class CRuleScan {
public:
    CRuleScan(const std::string& file, bool isCustom) : m_strFile(file), m_bCustom(isCustom) {}

    std::vector<CFinding> Run(const std::vector<CVnpParameter>& parameters) {
        for (const CVnpParameter& parameter : parameters) {
            m_nLine = parameter.m_nLine;
            if (IsUsed(parameter)) {
                Take(parameter);
            }
        }
        return std::move(m_Findings);
    }

private:
    void Add(FindingSeverity severity, const std::string& what, const std::string& why) {
        m_Findings.push_back({severity, {m_strFile, m_nLine}, what, why});
    }

    // Whether the first value of its name is there.
    bool IsUsed(const CVnpParameter& parameter) {
        if (parameter.m_strName.empty()) {
            Add(WARNING, "A value without the name of a parameter", "The line is ignored");
        } else if (parameter.m_strValue.empty()) {
            Add(WARNING, parameter.m_strName + " has no value", "The line is ignored");
        } else if (const char* first = m_Seen.FindValueFromName(parameter.m_strName.c_str())) {
            Add(WARNING, parameter.m_strName + " is given a second time",
                std::string("The first value counts: ") + first);
        } else {
            return m_Seen.AddValue(parameter.m_strName, parameter.m_strValue).empty();
        }
        return false;
    }

    void Take(const CVnpParameter& parameter) {
        const auto hasName = [&](const CKnownParameter& known) {
            return EqualIgnoringCase(known.m_szName, parameter.m_strName);
        };
        const auto* standard = std::find_if(std::begin(STANDARD), std::end(STANDARD), hasName);
        const auto* custom = std::find_if(std::begin(CUSTOM), std::end(CUSTOM), hasName);
        if (custom != std::end(CUSTOM)) {
            TakeCustom(*custom, parameter);
        } else if (standard != std::end(STANDARD)) {
            if (!m_bCustom) {
                TakeStandard(standard->m_Use, parameter);
            }
        } else if (std::none_of(std::begin(FOR_OTHERS), std::end(FOR_OTHERS),
                                [&](const char* name) {
                                    return EqualIgnoringCase(name, parameter.m_strName);
                                })) {
            AddUnknown(parameter.m_strName);
        }
    }

    void AddUnknown(const std::string& name) {
        for (const CKnownParameter& known : m_bCustom
                                                ? std::span<const CKnownParameter>(CUSTOM)
                                                : std::span<const CKnownParameter>(STANDARD)) {
            if (IsMisspelt(name, known.m_szName)) {
                Add(ERROR, "No parameter has the name " + name,
                    std::string("It has no effect; ") + known.m_szName + " is probably meant");
                return;
            }
        }
        Add(WARNING, "No parameter has the name " + name, "It has no effect");
    }

    void TakeCustom(const CKnownParameter& known, const CVnpParameter& parameter) {
        int value = 0;
        if (!m_bCustom) {
            Add(WARNING, parameter.m_strName + " is for custom downloads",
                "It has no effect with -VINTORMODE");
        } else if (known.m_Use != ParameterUse::TEXT &&
                   (!TryToGetIntValue(parameter.m_strValue.c_str(), &value) ||
                    (known.m_Use == ParameterUse::POSITIVE && value <= 0))) {
            AddBadValue(WARNING, parameter, "It is no number that counts, so the default stays");
        }
    }

    void AddBadValue(FindingSeverity severity, const CVnpParameter& parameter, const char* why) {
        Add(severity, parameter.m_strName + " = " + parameter.m_strValue, why);
    }

    void TakeStandard(ParameterUse use, const CVnpParameter& parameter) {
        const std::string value = UpperCaseCopy(parameter.m_strValue);
        const auto contains = [&](const char* word) {
            return value.find(word) != std::string::npos;
        };
        unsigned int number = 0;
        if (use == ParameterUse::NUMBER && !TryToGetUIntValue(value.c_str(), &number)) {
            AddBadValue(WARNING, parameter, "It is not a number, so records have 32 bytes");
        } else if (use == ParameterUse::ERASE_MODE && IsMisspelt(value, "Chip erase")) {
            AddBadValue(ERROR, parameter, "Nothing is erased; \"Chip erase\" is probably meant");
        } else if (use == ParameterUse::ERASE_MODE && value != "CHIP ERASE" && contains("ERASE") &&
                   !value.starts_with("NO")) {
            AddBadValue(WARNING, parameter, "Nothing is erased; only \"Chip erase\" does that");
        } else if (use == ParameterUse::WRITE_MODE && !contains("WRITE") && !contains("VERIFY")) {
            AddBadValue(ERROR, parameter, "Without WRITE or VERIFY in it, nothing is written");
        } else if (use == ParameterUse::MEMORY && !contains("EEPROM") && !contains("FLASH") &&
                   !contains("RAM")) {
            AddBadValue(ERROR, parameter,
                        "It names neither FLASH nor EEPROM nor RAM, so nothing is ever erased");
        }
    }

    const std::string& m_strFile;
    bool m_bCustom;
    std::vector<CFinding> m_Findings;
    CNameValueTable m_Seen;
    unsigned int m_nLine = 0;
};

}  // namespace

std::vector<CFinding> FindInRules(const std::string& path, bool isCustom) {
    const std::string fileName = path.substr(0, path.find('@'));
    char start[1024];
    const CFileHandle file = OpenFileForReading(fileName.c_str());
    const std::size_t size = file ? std::fread(start, 1, sizeof start, file.get()) : 0;
    if (const auto foreign = FindForeignFormat({start, size})) {
        return {{ERROR, {fileName, 1}, foreign->m_strWhat, foreign->m_strWhatToDo}};
    }
    CVnpSet set;
    std::string ignored;  // reported when the rules were loaded
    return ReadVnpSet(path, set, &ignored) ? CRuleScan(fileName, isCustom).Run(set.m_Parameters)
                                           : std::vector<CFinding>();
}
