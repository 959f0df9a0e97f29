#include <cstring>

#include "FuzzInput.h"
#include "util/VariableValue.h"

// Typed values from packed text, and back.

namespace {

bool PacksWithoutLoss(const CVariableValue& value) {
    // Reals are rounded, booleans are words.
    std::string text;
    if (value.IsString()) {
        text = value.GetValueAsString(text, 1000);
        return text.size() <= 127 && text != "NULMRK";
    }
    if (value.IsDateTime()) {
        return std::strchr(value.GetValueAsString(text, 0), '@') != nullptr;
    }
    return value.IsInteger();
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
    if (PacksWithoutLoss(value)) {
        FUZZ_CHECK(again == value);
        FUZZ_CHECK((again.GetName() == nullptr) == (value.GetName() == nullptr));
    }
}

void CheckScanned(CVariableValue value, const std::string& text) {
    const int type = value.GetType();
    value.ScanValueFromString(text.c_str());
    FUZZ_CHECK(value.GetType() == type);
    std::string shown;
    value.GetValueAsString(shown, 200);
    if (value.IsInteger()) {
        CVariableValue again(value);
        FUZZ_CHECK(again.ScanValueFromString(shown.c_str()) && again == value);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = UpToNul({data, data + size});
    CheckPacked(text);
    CheckScanned(CVariableValue(static_cast<std::uint8_t>(1)), text);
    CheckScanned(CVariableValue(static_cast<std::int16_t>(-2)), text);
    CheckScanned(CVariableValue(std::uint32_t{3}), text);
    CheckScanned(CVariableValue(std::int64_t{-4}), text);
    CheckScanned(CVariableValue(5.0F), text);
    CheckScanned(CVariableValue(6.0), text);
    CheckScanned(CVariableValue(true), text);
    CheckScanned(CVariableValue("text"), text);
    CheckScanned(CVariableValue(CDateTimeHolder("2024-02-29@23:59:58.007")), text);
    return 0;
}
