#include "image/CustomDownloadAssistant.h"

CCustomDownloadAssistant* MakeCustomDownloadAssistant(const char* /*type*/,
                                                      CChipImageLoadingInformation* /*owner*/) {
    return nullptr;
}
