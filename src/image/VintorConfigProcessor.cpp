#include "image/VintorConfigProcessor.h"

std::string CVintorConfigProcessor::ProcessDynamicSectionData(
    const char* /*fileName*/, CChipImageByteData& /*image*/,
    const char* /*definitionsDirectory*/) const {
    return "NOT_IMPLEMENTED_CGS_TO_BINARY_CONVERSION";
}

std::string CVintorConfigProcessor::ProcessStaticSectionData(CChipImageByteData& /*image*/,
                                                             const char* /*labels*/,
                                                             const char* /*name*/) const {
    return m_pRules == nullptr
               ? "CVintorConfigProcessor::ProcessStaticSectionData : no download parameters."
               : "CVintorConfigProcessor::ProcessStaticSectionData : no encoder for the section.";
}
