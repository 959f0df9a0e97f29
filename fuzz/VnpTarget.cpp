#include <map>
#include <set>

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

bool StartsSet(const std::string& line) {
    return line.starts_with("DevicePreset");
}

// The parameters of the wanted set, and which names occur anywhere.
struct PLAIN_SETS {
    PLAIN_SETS(const std::vector<std::string>& lines, const std::string& quotedPreset) {
        for (const std::string& line : lines) {
            if (StartsSet(line)) {
                inSet = !found && line.find(quotedPreset) != std::string::npos;
                found = found || inSet;
            } else if (line.find('=') != std::string::npos) {
                TakeParameter(line);
            }
        }
    }

    void TakeParameter(const std::string& line) {
        const std::size_t equals = line.find('=');
        const std::string name = UpperCaseCopy(TrimmedView(line.substr(0, equals)));
        std::string value(TrimmedView(line.substr(equals + 1)));
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
            value = value.substr(1, value.size() - 2);
        }
        names.insert(name);
        if (inSet && !name.empty() && !value.empty()) {
            values.try_emplace(name, value);
        }
    }

    bool inSet = false;
    bool found = false;
    std::map<std::string, std::string> values;
    std::set<std::string> names;
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
    if (lines.empty() || !StartsSet(lines[0])) {
        FUZZ_CHECK(error == "NA");
        return;
    }
    const PLAIN_SETS plain(lines, InQuotes(preset));
    FUZZ_CHECK(error == (plain.found ? ""
                                     : "In the VNP file " + path +
                                           " could not find a specified set of download "
                                           "parameters " +
                                           InQuotes(preset)));
    for (const std::string& name : plain.names) {
        const char* const value = rules.GetDownloadParameter(name.c_str());
        const auto expected = plain.values.find(name);
        FUZZ_CHECK(expected == plain.values.end() ? value == nullptr
                                                  : value != nullptr && value == expected->second);
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
