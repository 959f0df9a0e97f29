#pragma once

#include <string>

class CChipImageByteData;
class CDownloadRulesSet;

// The format of a configuration section, for CVintorConfigProcessor.
inline constexpr int VINTOR_CONFIG_FORMAT = 1;

// Turns a configuration text into the chip's configuration section. Each operation returns an error
// text, empty on success. Not synchronised.
class CVintorConfigProcessor {
public:
    // rules may be null; it is read and not owned. What comes behind it is for an encoder, which
    // there is none of.
    CVintorConfigProcessor(const CDownloadRulesSet* rules, int /*reserved*/, int /*format*/,
                           bool /*withLabels*/, bool /*withNames*/)
        : m_pRules(rules) {}

    // The entries of a configuration text. There is no conversion from text to a section: this
    // always fails, without touching the image.
    std::string ProcessDynamicSectionData(const char* fileName, CChipImageByteData& image,
                                          const char* definitionsDirectory) const;

    // The fixed section that the rules describe. It follows a successful dynamic section only, so
    // it has no encoder either.
    std::string ProcessStaticSectionData(CChipImageByteData& image, const char* labels,
                                         const char* name) const;

private:
    const CDownloadRulesSet* m_pRules;
};
