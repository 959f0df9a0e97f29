#include "app/Request.h"

namespace {

void ApplyOverrides(const CRequest& request, CChipImageLoadingInformation& info) {
    using Info = CChipImageLoadingInformation;
    const struct {
        BooleanOptions m_Value;
        void (Info::*m_pSet)(bool);
    } overrides[] = {
        {request.m_Erase, &Info::SetNeedToErase},
        {request.m_Write, &Info::SetNeedToWrite},
        {request.m_Verify, &Info::SetNeedToVerify},
        {request.m_CheckCRC, &Info::SetNeedToCheckCRC},
    };
    for (const auto& entry : overrides) {
        if (entry.m_Value != OPTION_UNSET) {
            (info.*entry.m_pSet)(entry.m_Value == OPTION_ON);
        }
    }
    info.SetDLMinidriverChunkSizeOverride(request.m_nMinidriverChunkSize);
}

}  // namespace

CChipImageLoadingInformation DescribeDownload(const CRequest& request) {
    CChipImageLoadingInformation info(request.m_Descriptor, false,
                                      request.m_strVnpFileName.c_str());
    const CDownloadRulesSet* rules = info.GetRules();
    if (request.m_bVintorMode) {
        info.MarkVintorMode();
        info.SetFlagIssueDownloadMinidriverCommand(request.m_bIssueDownloadMinidriver);
    } else if (rules != nullptr) {
        // Outside Vintor mode the rules only name the custom procedure that downloads.
        if (const char* type = rules->GetDownloadParameter("CustomDownload")) {
            info.SetCustomDownloadType(type);
        }
    }
    ApplyOverrides(request, info);
    return info;
}
