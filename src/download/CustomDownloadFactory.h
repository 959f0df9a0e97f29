#pragma once

class CCustomDownloadAssistant;
class CChipImageLoadingInformation;

// Makes the assistant for each custom download type, as a CustomDownloadAssistantMaker.
CCustomDownloadAssistant* MakeCustomDownloadAssistant(const char* type,
                                                      CChipImageLoadingInformation* owner);
