#include "app/ArgumentFindings.h"

#include <map>

#include "app/Arguments.h"
#include "util/FormatText.h"
#include "util/TextCase.h"

namespace {

using enum FindingSeverity;

// Which of several counts.
const std::map<std::string, const char*> ONLY_ONE_COUNTS = {{"-VNP", "first"},
                                                            {"-RULES", "first"},
                                                            {"-LOGTO", "last"},
                                                            {"-CAPTURETO", "last"},
                                                            {"-REPORTTO", "last"}};

const std::map<std::string, std::string> OPPOSITES = {
    {"-ERASE", "-NOERASE"}, {"-WRITE", "-NOWRITE"}, {"-VERIFY", "-NOVERIFY"}};

class CArgumentScan {
public:
    std::vector<CFinding> Run(int argc, char** argv) {
        for (int i = 1; i < argc; ++i) {
            const std::string argument = argv[i];
            const std::optional<bool> takesValue = DoesOptionTakeValue(argument);
            if (!takesValue) {
                break;  // an error of the command line, which is found when it is read
            }
            std::string name = UpperCaseCopy(argument);
            name.front() = '-';
            ++m_Counts[name];
            if (*takesValue) {
                ++i;
                TakeValue(name, i < argc ? argv[i] : nullptr);
            }
        }
        AddCounts();
        return std::move(m_Findings);
    }

    const std::string& RulesPath() const { return m_strRulesPath; }

private:
    void Add(FindingSeverity severity, const std::string& what, const std::string& why) {
        m_Findings.push_back({severity, {""}, what, why});
    }

    void TakeValue(const std::string& name, const char* value) {
        if (value == nullptr) {
            Add(ERROR, name + " has no value", "It is the last argument");
            return;
        }
        if (m_strRulesPath.empty() && (name == "-VNP" || name == "-RULES")) {
            m_strRulesPath = value;
        }
        if (DoesOptionTakeValue(value)) {
            Add(ERROR, name + " takes " + value + " as its value",
                std::string(value) + " itself has no effect");
        } else if (*value == '-') {
            Add(WARNING, name + " has the value " + value, "It looks like an option");
        }
    }

    void AddCounts() {
        for (const auto& [name, which] : ONLY_ONE_COUNTS) {
            if (m_Counts[name] > 1) {
                Add(WARNING, name + " is given several times",
                    std::string("Only the ") + which + " one counts");
            }
        }
        for (const auto& [name, opposite] : OPPOSITES) {
            if (m_Counts[name] != 0 && m_Counts[opposite] != 0) {
                Add(WARNING, FormatText("%s and %s are given", name.c_str(), opposite.c_str()),
                    "The later one counts");
            }
        }
    }

    std::vector<CFinding> m_Findings;
    std::map<std::string, int> m_Counts;
    std::string m_strRulesPath;
};

}  // namespace

std::vector<CFinding> FindInArguments(int argc, char** argv, std::string* rulesPath) {
    CArgumentScan scan;
    std::vector<CFinding> findings = scan.Run(argc, argv);
    *rulesPath = scan.RulesPath();
    return findings;
}
