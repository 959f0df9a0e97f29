#include <cstring>
#include <map>

#include "FuzzInput.h"
#include "rules/DownloadRulesSet.h"
#include "util/TextCase.h"
#include "util/TextLines.h"

// Rule files, with and without a preset. An input is a file, and behind its last "@", if it has
// one, the preset that is asked for.

namespace {

// The same rules once more, over text in memory.
class CPlainVnpReader {
public:
    CPlainVnpReader(std::string text, std::string quotedPreset)
        : m_strText(std::move(text)), m_strQuotedPreset(std::move(quotedPreset)) {
        m_bIsVnp = TakeLine(249) && m_strLine.starts_with("DevicePreset");
        if (m_bIsVnp) {
            ReadSets();
        }
    }

    bool m_bIsVnp = false;
    bool m_bFound = false;
    std::map<std::string, std::string> m_Values;  // upper-case names

private:
    bool TakeLine(std::size_t limit) {
        const std::size_t lineFeed = m_strText.find('\n', m_nPosition);
        const std::size_t end = lineFeed == std::string::npos ? m_strText.size() : lineFeed + 1;
        const std::size_t length = std::min(end - m_nPosition, limit);
        // Text ends at a NUL, whatever the line holds behind it.
        m_strLine = UpToNul(m_strText.substr(m_nPosition, length));
        m_nPosition += length;
        return length > 0;
    }

    void ReadSets() {
        do {
            if (m_strLine.starts_with("DevicePreset")) {
                if (m_bFound) {
                    return;
                }
                m_bFound = m_strLine.find(m_strQuotedPreset) != std::string::npos;
            } else if (m_bFound) {
                TakeParameter();
            }
        } while (TakeLine(1019));
    }

    void TakeParameter() {
        const std::size_t equals = m_strLine.find('=');
        if (equals == std::string::npos) {
            return;
        }
        const std::string name =
            UpperCaseCopy(TrimmedView(std::string_view(m_strLine).substr(0, equals)));
        std::string value(TrimmedView(std::string_view(m_strLine).substr(equals + 1)));
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
            value = value.substr(1, value.size() - 2);
        }
        if (!name.empty() && !value.empty()) {
            m_Values.try_emplace(name, value);
        }
    }

    std::string m_strText;
    std::string m_strQuotedPreset;
    std::string m_strLine;
    std::size_t m_nPosition = 0;
};

std::string InQuotes(const std::string& preset) {
    if (preset.empty() || preset == "\"\"") {
        return {};
    }
    return IsDoubleQuoted(preset.c_str()) ? preset : '"' + preset + '"';
}

void CheckLoad(const std::string& text, const char* path, const std::string& preset) {
    CDownloadRulesSet rules("set");
    const std::string error = rules.LoadFromDownloadParametersFile((path + ("@" + preset)).c_str());
    const CPlainVnpReader plain(text, InQuotes(preset));
    if (!plain.m_bIsVnp) {
        FUZZ_CHECK(error == "NA");
    } else if (!plain.m_bFound) {
        FUZZ_CHECK(error == std::string("In the VNP file ") + path +
                                " could not find a specified set of download parameters " +
                                InQuotes(preset));
    } else {
        FUZZ_CHECK(error.empty());
    }
    for (const auto& [name, value] : plain.m_Values) {
        const char* const found = rules.GetDownloadParameter(name.c_str());
        FUZZ_CHECK(found != nullptr && found == value);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static CMemoryFile file;
    const std::string text(data, data + size);
    const std::size_t at = text.rfind('@');
    const std::string content = text.substr(0, at);
    const char* const path = file.Fill(content);
    CheckLoad(content, path, "");
    if (at != std::string::npos) {
        CheckLoad(content, path, UpToNul(text.substr(at + 1)));
    }
    return 0;
}
