#include "chipsim/FaultRule.h"

#include <charconv>
#include <cmath>
#include <fstream>
#include <string_view>

#include "util/ArgumentNumber.h"

namespace {

constexpr unsigned int NOT_GIVEN = FAULT_RULE::NOT_GIVEN;
constexpr unsigned int LONGEST_MS = 3'600'000;
constexpr unsigned int MOST_BYTES = 16U << 20;
constexpr unsigned int UNLIMITED = std::numeric_limits<unsigned int>::max() - 1;

struct FAULT_VALUE {
    unsigned int preset;  // when it is not given
    unsigned int least;
    unsigned int most;
};

struct FAULT_WORD {
    const char* word;
    ChipFaults fault;
    unsigned int fewestValues;
    unsigned int mostValues;
    FAULT_VALUE values[2];
};

constexpr FAULT_WORD WORDS[] = {
    {"drop", FAULT_DROP, 0, 0, {}},
    {"late", FAULT_LATE, 1, 1, {{NOT_GIVEN, 0, LONGEST_MS}}},
    {"pieces", FAULT_PIECES, 0, 2, {{3, 2, 1000}, {20, 0, LONGEST_MS}}},
    {"twice", FAULT_TWICE, 0, 0, {}},
    {"flip", FAULT_FLIP, 0, 1, {{NOT_GIVEN, 0, UNLIMITED}}},
    {"event", FAULT_EVENT, 0, 1, {{1, 1, 1000}}},
    {"noise-before", FAULT_NOISE_BEFORE, 0, 1, {{4, 1, MOST_BYTES}}},
    {"noise-after", FAULT_NOISE_AFTER, 0, 1, {{4, 1, MOST_BYTES}}},
    {"status", FAULT_STATUS, 0, 1, {{0x0C, 0, 0xFF}}},  // HCI: command disallowed
    {"cut", FAULT_CUT, 0, 1, {{NOT_GIVEN, 0, UNLIMITED}}},
    {"silence", FAULT_SILENCE, 0, 0, {}},
    {"flood", FAULT_NOISE_BEFORE, 0, 1, {{70'000, 1, MOST_BYTES}}},
    {"hangup", FAULT_HANGUP, 0, 1, {{0, 0, UNLIMITED}}},
    {"slow", FAULT_SLOW, 1, 1, {{NOT_GIVEN, 0, LONGEST_MS}}},
    {"baddata", FAULT_BADDATA, 0, 1, {{0, 0, UNLIMITED}}},
    {"badcrc", FAULT_BADCRC, 0, 0, {}},
};

std::string Quoted(std::string_view text) {
    std::string quoted(1, '\'');
    quoted.append(text);
    quoted += '\'';
    return quoted;
}

// The part before the mark, which is cut off the text; the whole text when there is none.
std::string_view TakeUpTo(std::string_view& text, char mark) {
    const std::size_t at = text.find(mark);
    const std::string_view part = text.substr(0, at);
    text.remove_prefix(at == std::string_view::npos ? text.size() : at + 1);
    return part;
}

bool ParseKind(std::string_view text, FAULT_RULE& rule) {
    rule.kind = FindChipCommandKind(text);
    return rule.kind.has_value() || text == "any";
}

bool ParseChance(std::string_view text, FAULT_RULE& rule) {
    double percent = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, percent, std::chars_format::fixed);
    if (error != std::errc() || stop != end || !(percent >= 0 && percent <= 100)) {
        return false;
    }
    rule.chance = static_cast<unsigned int>(std::lround(percent * 10'000));
    return true;
}

bool ParseCount(std::string_view text, unsigned int& count) {
    return ReadArgumentNumber(text, UNLIMITED, count) && count > 0;
}

bool ParseWhen(std::string_view text, FAULT_RULE& rule) {
    if (text == "every") {
        return true;
    }
    if (text.ends_with('%')) {
        return ParseChance(text.substr(0, text.size() - 1), rule);
    }
    if (text.ends_with('+')) {
        return ParseCount(text.substr(0, text.size() - 1), rule.first);
    }
    const bool isRange = text.find('-') != std::string_view::npos;
    if (!ParseCount(TakeUpTo(text, '-'), rule.first)) {
        return false;
    }
    rule.last = rule.first;
    return !isRange || (ParseCount(text, rule.last) && rule.last >= rule.first);
}

std::string ParseValues(std::string_view text, const FAULT_WORD& word, FAULT_RULE& rule) {
    unsigned int count = 0;
    for (unsigned int i = 0; i < word.mostValues; ++i) {
        rule.values[i] = word.values[i].preset;
    }
    while (!text.empty()) {
        if (count == word.mostValues) {
            return Quoted(word.word) + " takes fewer values";
        }
        const std::string_view part = TakeUpTo(text, ',');
        const FAULT_VALUE& range = word.values[count];
        if (!ReadArgumentNumber(part, range.most, rule.values[count]) ||
            rule.values[count] < range.least) {
            return Quoted(part) + " is no value for " + Quoted(word.word);
        }
        ++count;
    }
    return count < word.fewestValues ? Quoted(word.word) + " needs a value" : "";
}

std::string ParseFault(std::string_view text, FAULT_RULE& rule) {
    const std::string_view name = TakeUpTo(text, '=');
    for (const FAULT_WORD& word : WORDS) {
        if (name == word.word) {
            rule.fault = word.fault;
            return ParseValues(text, word, rule);
        }
    }
    return "no such fault " + Quoted(name);
}

std::string ParseParts(std::string_view text, FAULT_RULE& rule) {
    const std::string_view kind = TakeUpTo(text, ':');
    const std::string_view when = TakeUpTo(text, ':');
    if (!ParseKind(kind, rule)) {
        return "no such command " + Quoted(kind);
    }
    if (!ParseWhen(when, rule)) {
        return Quoted(when) + " is not N, N-M, N+, N% or every";
    }
    return ParseFault(text, rule);
}

}  // namespace

bool FAULT_RULE::UsesChance() const {
    return chance || fault == FAULT_NOISE_BEFORE || fault == FAULT_NOISE_AFTER ||
           (fault == FAULT_FLIP && values[0] == NOT_GIVEN);
}

std::string ParseFaultRule(const std::string& text, FAULT_RULE& rule) {
    rule = {};
    rule.text = text;
    const std::string error = ParseParts(text, rule);
    return error.empty() ? error : "fault " + Quoted(text) + ": " + error;
}

std::string ReadFaultFile(const std::string& path, std::vector<FAULT_RULE>& rules) {
    std::ifstream file(path);
    if (!file) {
        return "cannot read " + path;
    }
    unsigned int number = 0;
    for (std::string line; std::getline(file, line);) {
        ++number;
        const std::size_t start = line.find_first_not_of(" \t\r");
        if (start == std::string::npos || line[start] == '#') {
            continue;
        }
        FAULT_RULE rule;
        const std::size_t end = line.find_last_not_of(" \t\r");
        const std::string error = ParseFaultRule(line.substr(start, end - start + 1), rule);
        if (!error.empty()) {
            return std::string(path).append(":").append(std::to_string(number)) + ": " + error;
        }
        rules.push_back(std::move(rule));
    }
    return file.bad() ? "cannot read " + path : std::string();
}
