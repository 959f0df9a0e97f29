#pragma once

class CCustomDownloadAssistant;
class CChipImageLoadingInformation;

// A CustomDownloadAssistantMaker that knows every procedure of this folder.
CCustomDownloadAssistant* MakeCustomDownloadAssistant(const char* type,
                                                      CChipImageLoadingInformation* owner);
