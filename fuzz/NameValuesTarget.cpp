#include "FuzzInput.h"
#include "util/NameValueTable.h"
#include "util/TextLines.h"

// Name-value tables from lines, from a single line and from a file; a stored table reads back.

namespace {

// Whether a stored table can hold this entry: comments, breaks within a value and names of nothing
// but white space are beyond it.
bool CanBeStored(const std::string& name, const std::string& value) {
    return name.front() != '#' && name.front() != '!' && value.find('\n') == std::string::npos &&
           name.find_first_of("=\n") == std::string::npos && !TrimmedView(name).empty() &&
           TrimmedView(value) == value;
}

void CheckTable(const CNameValueTable& table) {
    std::vector<std::string> names;
    std::vector<std::string> values;
    FUZZ_CHECK(table.GetAllNamesAndValues(names, values) == table.Count());
    FUZZ_CHECK(std::is_sorted(names.begin(), names.end()));
    bool canBeStored = table.Count() > 0;
    for (std::size_t i = 0; i < names.size(); ++i) {
        // A name of nothing but white space is its last character, so blanks around it count.
        const bool isBlank = TrimmedView(names[i]).empty();
        const std::string asked = isBlank ? names[i] : " " + names[i] + "\t";
        const char* const found = table.FindValueFromName(asked.c_str());
        FUZZ_CHECK(found != nullptr && found == values[i]);
        canBeStored = canBeStored && CanBeStored(names[i], values[i]);
    }
    const std::string text = table.StoreTableToString();
    CNameValueTable again;
    FUZZ_CHECK(!canBeStored ||
               (again.LoadFromString(text.c_str()).empty() && again.StoreTableToString() == text));
}

// The first definition wins, and the table changes only when it says so.
void CheckChanges(CNameValueTable& table, const char* name) {
    const unsigned int count = table.Count();
    const std::string added = table.AddValue(name, "value");
    FUZZ_CHECK(table.Count() == count + (added.empty() ? 1 : 0));
    FUZZ_CHECK(!table.AddValue(name, "other").empty());
    FUZZ_CHECK(!added.empty() || table.RemoveValue(name).empty());
    FUZZ_CHECK(!added.empty() || table.FindValueFromName(name) == nullptr);
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
    CheckChanges(line, text.substr(0, text.find('=')).c_str());
    return 0;
}
