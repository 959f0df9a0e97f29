#pragma once

#include <string>

class CChipImageByteData;
class CDownloadRulesSet;

// The format of a configuration section, for CVintorConfigProcessor.
inline constexpr int VINTOR_CONFIG_FORMAT = 1;

// Would turn a configuration text into the chip's configuration section. The encoder does not
// exist, so every operation returns an error text and leaves the image alone, and nothing is read
// from the arguments.
class CVintorConfigProcessor {
public:
    CVintorConfigProcessor(const CDownloadRulesSet* /*rules*/, int /*reserved*/, int /*format*/,
                           bool /*withLabels*/, bool /*withNames*/) {}

    // Would add the entries of a configuration text.
    [[nodiscard]] std::string ProcessDynamicSectionData(
        const char* /*fileName*/, CChipImageByteData& /*image*/,
        const char* /*definitionsDirectory*/) const {
        return "NOT_IMPLEMENTED_CGS_TO_BINARY_CONVERSION";
    }

    // Would add the section that the rules describe, after the dynamic one.
    [[nodiscard]] std::string ProcessStaticSectionData(CChipImageByteData& /*image*/,
                                                       const char* /*labels*/,
                                                       const char* /*name*/) const {
        return "CVintorConfigProcessor::ProcessStaticSectionData : no encoder for the section.";
    }
};
