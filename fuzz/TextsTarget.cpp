#include "FuzzInput.h"
#include "util/HexText.h"
#include "util/NameValueTable.h"
#include "util/NumberText.h"
#include "util/TextLines.h"
#include "util/VariableValue.h"

// Any text as a number, a list of hexadecimal bytes, a date, a typed value and a table of names and
// values. What is written reads back.

namespace {

void CheckNumber(const char* text) {
    constexpr unsigned int UNTOUCHED = 0xA5A5A5A5U;
    unsigned int value = UNTOUCHED;
    const bool isNumber = TryToGetUIntValue(text, &value);
    FUZZ_CHECK(isNumber == (IsDecInt(text) || IsHexInt(text) || IsBinaryInt(text)));
    FUZZ_CHECK(isNumber || value == UNTOUCHED);
    FUZZ_CHECK(!IsDecInt(text) || IsRealNumber(text));
    char column[300];
    const std::string digits(TrimmedView(UIntToHex(value, column, value & 0xFF, false)));
    FUZZ_CHECK(GetUIntValue(("0x" + digits).c_str()) == value);
    const std::string shown = CDateTimeHolder(text).AsText();
    // A time of day is shown, and is no input.
    FUZZ_CHECK(CDateTimeHolder(shown.c_str()).AsText() ==
               (shown.find('@') == std::string::npos ? "00:00:00.000" : shown));
}

// What the reader stores lies within the limit, agrees with its count and with counting alone.
template <typename READER>
void CheckLimits(const READER& read) {
    constexpr unsigned char UNTOUCHED = 0xA5;
    unsigned int total = 0;
    const bool isList = read(nullptr, 0, &total);
    for (const unsigned int limit : {total, total / 2}) {
        Bytes bytes(limit + 1, UNTOUCHED);
        unsigned int count = 0;
        FUZZ_CHECK(read(bytes.data(), limit, &count) == (isList && total <= limit));
        FUZZ_CHECK(count == limit && bytes[limit] == UNTOUCHED);
    }
}

// Not so reals, which are rounded, booleans, which are words, and times of day, which are no input.
bool PacksWithoutLoss(const CVariableValue& value) {
    std::string text;
    value.GetValueAsString(text, 1000);
    return value.IsInteger() || (value.IsString() && text.size() <= 127 && text != "NULMRK") ||
           (value.IsDateTime() && text.find('@') != std::string::npos);
}

void CheckValue(const char* text) {
    CVariableValue value;
    std::string packed;
    if (value.UnpackFromString(text)) {
        FUZZ_CHECK(value.GetName() == nullptr || CVariableValue::IsValidName(value.GetName()));
        CVariableValue again;
        FUZZ_CHECK(again.UnpackFromString(value.PackIntoString(packed)));
        FUZZ_CHECK(again == value || !PacksWithoutLoss(value));
    }
    // The same text for a value of each type.
    for (int type = VALUE_UNDEFINED; type <= VALUE_DATE_TIME; ++type) {
        FUZZ_CHECK(value.UnpackFromString((std::to_string(type) + " n 1").c_str()));
        value.ScanValueFromString(text);
        FUZZ_CHECK(value.GetType() == type && value.Description("title", packed) != nullptr);
    }
}

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
    FUZZ_CHECK(table.GetAllNamesAndValues(names, values) == names.size());
    FUZZ_CHECK(std::is_sorted(names.begin(), names.end()));
    bool canBeStored = !names.empty();
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static CMemoryFile file;
    const std::string text(data, data + size);
    CheckNumber(text.c_str());
    CheckLimits([&](unsigned char* out, unsigned int room, unsigned int* count) {
        return ParseHexBytesFromString(text.c_str(), out, room, count);
    });
    CheckLimits([&](unsigned char* out, unsigned int room, unsigned int* count) {
        return ParseHexBytesWithoutDelimiters(text.c_str(), out, room, count, '*');
    });
    CheckValue(text.c_str());
    CNameValueTable table;
    CNameValueTable fromFile;
    FUZZ_CHECK(fromFile.LoadFromFile(file.Fill(text)) == table.LoadFromString(text.c_str()));
    FUZZ_CHECK(fromFile.StoreTableToString() == table.StoreTableToString());
    CheckTable(table);
    table.ParseValuesFromSingleLine(text.c_str());
    CheckTable(table);
    return 0;
}
