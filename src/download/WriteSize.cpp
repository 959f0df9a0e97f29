#include "download/WriteSize.h"

#include "image/ChipImageLoadingInformation.h"
#include "util/NumberText.h"

unsigned int GetMaxWriteSize(const CChipImageLoadingInformation& info) {
    unsigned int size = 32;
    if (const CDownloadRulesSet* rules = info.GetRules()) {
        TryToGetUIntValue(rules->GetDownloadParameter("DLMaxWriteSize"), &size);
    }
    return size;
}
