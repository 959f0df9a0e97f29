#include "download/CustomDownloadFactory.h"

#include "download/CustomX4410ADownloadAssistant.h"
#include "download/CustomX4410BDownloadAssistant.h"
#include "util/TextCase.h"

CCustomDownloadAssistant* MakeCustomDownloadAssistant(const char* type,
                                                      CChipImageLoadingInformation* owner) {
    for (const char* name : {"X4410A", SPECIAL_X4410A_DL_NAME, "NFC"}) {
        if (EqualIgnoringCase(type, name)) {
            return new CCustomX4410ADownloadAssistant(owner);
        }
    }
    return EqualIgnoringCase(type, "X4410B") ? new CCustomX4410BDownloadAssistant(owner) : nullptr;
}
