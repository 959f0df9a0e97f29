#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "download/ChipDownloader.h"
#include "support/FakeChip.h"
#include "support/TempDir.h"

// What a test asks for. Files are given by their content; an empty one is not named at all.
struct CDownloadRequest {
    std::string m_strMinidriver;
    std::string m_strFirmware;
    std::string m_strConfig;
    std::map<std::string, std::string> m_Rules;  // without any, there is no rule set
    std::function<void(CChipImageLoadingInformation&)> m_pfnOverride;
    bool m_bLog = false;
    bool m_bVintorMode = true;
};

// A downloader with the files, the rules and the chip of one test around it.
class CDownloadSetup {
public:
    explicit CDownloadSetup(const CDownloadRequest& request) {
        CChipDownloadDescriptor descriptor;
        if (!request.m_strMinidriver.empty()) {
            descriptor.AddMinidriverFileName(
                m_Folder.Write("minidriver.img", request.m_strMinidriver));
        }
        if (!request.m_strFirmware.empty()) {
            descriptor.AddFirmwareFileName(m_Folder.Write("firmware.img", request.m_strFirmware));
        }
        if (!request.m_strConfig.empty()) {
            descriptor.AddConfigDataFileName(m_Folder.Write("config.img", request.m_strConfig));
        }
        if (!request.m_Rules.empty()) {
            CDownloadRulesSet rules("");
            for (const auto& [name, value] : request.m_Rules) {
                rules.SetDownloadParameter(name.c_str(), value.c_str(), false);
            }
            descriptor.AddRuleSet(rules);
        }
        if (request.m_bLog) {
            descriptor.SetLogFileName(m_Folder.PathOf("log.txt"));
        }
        m_pInfo = std::make_unique<CChipImageLoadingInformation>(descriptor, false, "");
        if (request.m_bVintorMode) {
            m_pInfo->MarkVintorMode();
        }
        if (request.m_pfnOverride) {
            request.m_pfnOverride(*m_pInfo);
        }
    }

    CFakeChip& Chip() { return m_Chip; }
    CChipImageLoadingInformation& Info() { return *m_pInfo; }
    std::string PathOf(const std::string& name) const { return m_Folder.PathOf(name); }

    // Made with the first use.
    CChipDownloader& Downloader() {
        if (m_pDownloader == nullptr) {
            m_pDownloader = std::make_unique<CChipDownloader>(*m_pInfo, &m_Chip);
        }
        return *m_pDownloader;
    }
    void DestroyDownloader() { m_pDownloader.reset(); }

    DownloadStates State() { return Downloader().GetStatus(nullptr, nullptr, nullptr, nullptr); }
    std::string Error() { return Downloader().GetErrorDescription(); }
    std::vector<std::string> NewDetails() {
        std::vector<std::string> details;
        Downloader().GetAllRecentDetails(details);
        return details;
    }

    // Prepares and forgets what the preparation sent.
    std::string Prepare() {
        std::string error = Downloader().PrepareForDownload();
        m_Chip.m_Sent.clear();
        return error;
    }

private:
    CTempDir m_Folder;
    CFakeChip m_Chip;
    std::unique_ptr<CChipImageLoadingInformation> m_pInfo;
    std::unique_ptr<CChipDownloader> m_pDownloader;
};
