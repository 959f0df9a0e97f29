#include <map>

#include "FuzzInput.h"
#include "rules/DownloadRulesSet.h"
#include "util/TextCase.h"
#include "util/TextLines.h"

// Rule files, with and without a preset. An input is a file; the preset follows its last "@".

namespace {

// Line feeds stay; a line longer than its limit comes in pieces.
std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
        const std::size_t length = std::min<std::size_t>(end - at, lines.empty() ? 249 : 1019);
        lines.push_back(UpToNul(text.substr(at, length)));
        at += length;
    }
    return lines;
}

// The values of all names that occur anywhere; those of other sets than the wanted one are empty.
struct PLAIN_SETS {
    PLAIN_SETS(const std::vector<std::string>& lines, const std::string& quotedPreset) {
        for (const std::string& line : lines) {
            if (line.starts_with("DevicePreset")) {
                inSet = !found && line.find(quotedPreset) != std::string::npos;
                found = found || inSet;
            } else if (line.find('=') != std::string::npos) {
                TakeParameter(line, line.find('='));
            }
        }
    }

    void TakeParameter(const std::string& line, std::size_t equals) {
        std::string value(TrimmedView(line.substr(equals + 1)));
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
            value = value.substr(1, value.size() - 2);
        }
        std::string& known = values[UpperCaseCopy(TrimmedView(line.substr(0, equals)))];
        known = inSet && known.empty() ? value : known;
    }

    bool inSet = false;
    bool found = false;
    std::map<std::string, std::string> values;
};

std::string InQuotes(const std::string& preset) {
    if (preset.empty() || preset == "\"\"") {
        return {};
    }
    return IsDoubleQuoted(preset.c_str()) ? preset : '"' + preset + '"';
}

void CheckLoad(const std::string& text, const std::string& path, const std::string& preset) {
    CDownloadRulesSet rules("set");
    const std::string error = rules.LoadFromDownloadParametersFile((path + "@" + preset).c_str());
    const std::vector<std::string> lines = LinesOf(text);
    if (lines.empty() || !lines[0].starts_with("DevicePreset")) {
        FUZZ_CHECK(error == "NA");
        return;
    }
    const std::string quoted = InQuotes(preset);
    const PLAIN_SETS plain(lines, quoted);
    FUZZ_CHECK(error == (plain.found ? ""
                                     : "In the VNP file " + path +
                                           " could not find a specified set of download "
                                           "parameters " +
                                           quoted));
    for (const auto& [name, value] : plain.values) {
        const char* const loaded = rules.GetDownloadParameter(name.c_str());
        FUZZ_CHECK((loaded == nullptr ? "" : loaded) == (name.empty() ? "" : value));
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
