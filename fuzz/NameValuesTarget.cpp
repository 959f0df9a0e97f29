#include <algorithm>
#include <cctype>

#include "FuzzInput.h"
#include "util/NameValueTable.h"

// Name-value tables from lines, from a single line and from a file; a stored table reads back.

namespace {

bool IsBlank(char character) {
    return std::isspace(static_cast<unsigned char>(character)) != 0;
}

// Whether the text form of a table can say this entry: comments, breaks within a value and names of
// nothing but white space are beyond it.
bool CanBeStored(const std::string& name, const std::string& value) {
    const auto isPrintable = [](char character) { return !IsBlank(character); };
    return name.front() != '#' && name.front() != '!' && value.find('\n') == std::string::npos &&
           name.find_first_of("=\n") == std::string::npos &&
           std::any_of(name.begin(), name.end(), isPrintable) &&
           (value.empty() || (!IsBlank(value.front()) && !IsBlank(value.back())));
}

void CheckTable(const CNameValueTable& table) {
    std::vector<std::string> names;
    std::vector<std::string> values;
    FUZZ_CHECK(table.GetAllNamesAndValues(names, values) == table.Count());
    FUZZ_CHECK(names.size() == table.Count() && values.size() == table.Count());
    FUZZ_CHECK(std::is_sorted(names.begin(), names.end()));
    bool canBeStored = table.Count() > 0;
    for (std::size_t i = 0; i < names.size(); ++i) {
        FUZZ_CHECK(!names[i].empty());
        // A name of nothing but white space is its last character, so blanks around it count.
        const bool isBlank = std::all_of(names[i].begin(), names[i].end(), IsBlank);
        const std::string asked = isBlank ? names[i] : " " + names[i] + "\t";
        const char* const found = table.FindValueFromName(asked.c_str());
        FUZZ_CHECK(found != nullptr && found == values[i]);
        canBeStored = canBeStored && CanBeStored(names[i], values[i]);
    }
    if (!canBeStored) {
        return;
    }
    const std::string text = table.StoreTableToString();
    CNameValueTable again;
    FUZZ_CHECK(again.LoadFromString(text.c_str()).empty());
    FUZZ_CHECK(again.StoreTableToString() == text);
}

// The first definition wins, and the table changes only when it says so.
void CheckChanges(CNameValueTable& table, const std::string& name) {
    const unsigned int count = table.Count();
    const std::string added = table.AddValue(name.c_str(), "value");
    FUZZ_CHECK(table.Count() == count + (added.empty() ? 1 : 0));
    FUZZ_CHECK(!table.AddValue(name.c_str(), "other").empty());
    if (added.empty()) {
        FUZZ_CHECK(table.RemoveValue(name.c_str()).empty());
        FUZZ_CHECK(table.FindValueFromName(name.c_str()) == nullptr);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static CMemoryFile file;
    const std::string text(data, data + size);

    CNameValueTable lines;
    const std::string error = lines.LoadFromString(text.c_str());
    CheckTable(lines);

    CNameValueTable fromFile;
    FUZZ_CHECK(fromFile.LoadFromFile(file.Fill(text)) == error);
    FUZZ_CHECK(fromFile.StoreTableToString() == lines.StoreTableToString());

    CNameValueTable line;
    line.ParseValuesFromSingleLine(text.c_str());
    CheckTable(line);
    CheckChanges(line, text.substr(0, text.find('=')));
    return 0;
}
