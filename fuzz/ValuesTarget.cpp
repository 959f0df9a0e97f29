#include "FuzzInput.h"
#include "util/VariableValue.h"

// Typed values from packed text, and back.

namespace {

// Not so reals, which are rounded, booleans, which are words, and times of day, which are no input.
bool PacksWithoutLoss(const CVariableValue& value) {
    std::string text;
    value.GetValueAsString(text, 1000);
    return value.IsInteger() || (value.IsString() && text.size() <= 127 && text != "NULMRK") ||
           (value.IsDateTime() && text.find('@') != std::string::npos);
}

void CheckPacked(const std::string& text) {
    CVariableValue value;
    if (!value.UnpackFromString(text.c_str())) {
        return;
    }
    FUZZ_CHECK(value.GetName() == nullptr || CVariableValue::IsValidName(value.GetName()));
    std::string shown;
    FUZZ_CHECK(value.Description("title", shown) != nullptr);
    FUZZ_CHECK(value.GetValueAsString(shown, 7) != nullptr);
    std::string packed;
    value.PackIntoString(packed);
    CVariableValue again;
    FUZZ_CHECK(again.UnpackFromString(packed.c_str()));
    FUZZ_CHECK((again.GetName() == nullptr) == (value.GetName() == nullptr));
    FUZZ_CHECK(again == value || !PacksWithoutLoss(value));
}

// A text as a value of each type.
void CheckScanned(const std::string& text) {
    for (int type = VALUE_UNDEFINED; type <= VALUE_DATE_TIME; ++type) {
        CVariableValue value;
        FUZZ_CHECK(value.UnpackFromString((std::to_string(type) + " n 1").c_str()));
        value.ScanValueFromString(text.c_str());
        FUZZ_CHECK(value.GetType() == type);
        std::string shown;
        value.GetValueAsString(shown, 200);
        CVariableValue again(value);
        FUZZ_CHECK(!value.IsInteger() ||
                   (again.ScanValueFromString(shown.c_str()) && again == value));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = UpToNul({data, data + size});
    CheckPacked(text);
    CheckScanned(text);
    return 0;
}
