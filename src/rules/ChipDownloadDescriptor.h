#pragma once

#include <string>
#include <vector>

#include "rules/DownloadRulesSet.h"

// One download request: the rule sets, the names of the files to load and of the log file. Checks
// nothing. Copyable; not synchronised.
class CChipDownloadDescriptor {
public:
    void AddRuleSet(const CDownloadRulesSet& ruleSet) { m_RuleSets.push_back(ruleSet); }
    void AddMinidriverFileName(std::string name) { m_MinidriverFiles.push_back(std::move(name)); }
    void AddFirmwareFileName(std::string name) { m_FirmwareFiles.push_back(std::move(name)); }
    void AddConfigDataFileName(std::string name) { m_ConfigDataFiles.push_back(std::move(name)); }
    void SetLogFileName(std::string name) { m_strLogFileName = std::move(name); }

    // "" if there is no log file.
    const char* GetLogFileName() const { return m_strLogFileName.c_str(); }

    unsigned int CountRuleSets() const { return static_cast<unsigned int>(m_RuleSets.size()); }
    unsigned int CountMinidriverFiles() const {
        return static_cast<unsigned int>(m_MinidriverFiles.size());
    }
    unsigned int CountFirmwareFiles() const {
        return static_cast<unsigned int>(m_FirmwareFiles.size());
    }
    unsigned int CountConfigDataFiles() const {
        return static_cast<unsigned int>(m_ConfigDataFiles.size());
    }

    // The index must be below the count.
    CDownloadRulesSet& GetRuleSet(unsigned int index) { return m_RuleSets[index]; }
    const CDownloadRulesSet& GetRuleSet(unsigned int index) const { return m_RuleSets[index]; }
    std::string GetMinidriverFile(unsigned int index) const { return m_MinidriverFiles[index]; }
    std::string GetFirmwareFile(unsigned int index) const { return m_FirmwareFiles[index]; }
    std::string GetConfigDataFile(unsigned int index) const { return m_ConfigDataFiles[index]; }

private:
    // Callers read the first set only.
    std::vector<CDownloadRulesSet> m_RuleSets;
    std::vector<std::string> m_MinidriverFiles;
    std::vector<std::string> m_FirmwareFiles;
    std::vector<std::string> m_ConfigDataFiles;
    std::string m_strLogFileName;
};
