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

// Outside Vintor mode the rules name this and nothing else.
const char* CustomDownloadType(const CRequest& request) {
    const bool hasRules = !request.m_bVintorMode && request.m_Descriptor.CountRuleSets() > 0;
    return hasRules ? request.m_Descriptor.GetRuleSet(0).GetDownloadParameter("CustomDownload")
                    : nullptr;
}

CChipImageLoadingInformation DescribeDownload(const CRequest& request) {
    CChipImageLoadingInformation info(request.m_Descriptor, request.m_pReadout != nullptr,
                                      request.m_strVnpFileName.c_str());
    info.SetReadout(request.m_pReadout);
    if (request.m_bVintorMode) {
        info.MarkVintorMode();
        info.SetFlagIssueDownloadMinidriverCommand(request.m_bIssueDownloadMinidriver);
    } else if (const char* type = CustomDownloadType(request)) {
        info.SetCustomDownloadType(type);
    }
    ApplyOverrides(request, info);
    return info;
}
