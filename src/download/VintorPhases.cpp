#include "download/VintorPhases.h"

#include <algorithm>

#include "image/ChipImageLoadingInformation.h"
#include "util/NumberText.h"
#include "util/TextCase.h"

namespace {

// The user's choice, -1 when there is none, overrides the rules.
void ApplyOverride(int choice, bool* phase) {
    if (choice != -1) {
        *phase = choice == 1;
    }
}

}  // namespace

CVintorPhases DecideVintorPhases(const CChipImageLoadingInformation& info, std::string* error) {
    CVintorPhases phases;
    phases.m_strMemory = info.GetVintorMemoryType(error);
    const bool nonVolatile = phases.m_strMemory == "EEPROM" || phases.m_strMemory == "FLASH";
    if (const CDownloadRulesSet* rules = info.GetRules()) {
        const char* eraseMode = rules->GetDownloadParameter("DLSectorEraseMode");
        phases.m_bErase =
            nonVolatile && eraseMode != nullptr && EqualIgnoringCase(eraseMode, "Chip erase");
        if (const char* writeVerifyMode = rules->GetDownloadParameter("DLWriteVerifyMode")) {
            const std::string mode = UpperCaseCopy(writeVerifyMode);
            phases.m_bVerify = mode.find("VERIFY") != std::string::npos;
            phases.m_bWrite = mode.find("WRITE") != std::string::npos;
        }
    }
    ApplyOverride(info.GetNeedToVerify(), &phases.m_bVerify);
    ApplyOverride(info.GetNeedToWrite(), &phases.m_bWrite);
    if (nonVolatile) {
        ApplyOverride(info.GetNeedToErase(), &phases.m_bErase);
    }
    ApplyOverride(info.GetNeedToCheckCRC(), &phases.m_bCheckCRC);
    return phases;
}

unsigned int MaxVintorRecordSize(const CChipImageLoadingInformation& info, bool isMinidriver) {
    unsigned int size = isMinidriver ? info.GetDLMinidriverChunkSizeOverride() : 0;
    const CDownloadRulesSet* rules = info.GetRules();
    if (size == 0 && (rules == nullptr ||
                      !TryToGetUIntValue(rules->GetDownloadParameter("DLMaxWriteSize"), &size))) {
        return 32;
    }
    return size;
}

unsigned char NextVintorRecordSize(unsigned int maxSize, unsigned int left) {
    return static_cast<unsigned char>(std::min(maxSize, left));
}
