#pragma once

#include <string>

class CChipImageByteData;
class CDownloadRulesSet;

// The format of a configuration section, for CVintorConfigProcessor.
inline constexpr int VINTOR_CONFIG_FORMAT = 1;

// Turns a configuration text into the chip's configuration section. The encoder does not exist yet,
// so both operations return an error text. One thread at a time.
class CVintorConfigProcessor {
public:
    // rules may be null; the caller owns it. The encoder that does not exist takes the other
    // arguments.
    CVintorConfigProcessor(const CDownloadRulesSet* rules, int /*reserved*/, int /*format*/,
                           bool /*withLabels*/, bool /*withNames*/)
        : m_pRules(rules) {}

    // Would add the entries of a configuration text. Leaves the image alone.
    [[nodiscard]] std::string ProcessDynamicSectionData(const char* fileName,
                                                        CChipImageByteData& image,
                                                        const char* definitionsDirectory) const;

    // Would add the fixed section that the rules describe, after the dynamic one.
    [[nodiscard]] std::string ProcessStaticSectionData(CChipImageByteData& image,
                                                       const char* labels, const char* name) const;

private:
    const CDownloadRulesSet* m_pRules;
};
