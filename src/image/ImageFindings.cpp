#include "image/ImageFindings.h"

#include "image/ChipImageByteData.h"
#include "util/ForeignFormat.h"

namespace {

bool LoadsAsHex(std::FILE* file, const std::string& name) {
    CChipImageByteData image("", "", "");
    return image.LoadFromHexFile(file, name.c_str(), true, false).empty();
}

// Whether a file that does not load is meant to be a text.
bool LooksLikeText(std::FILE* file) {
    char start[1024];
    const std::string_view text(start, std::fread(start, 1, sizeof start, file));
    return text.starts_with(':') || text.starts_with('$') || FindForeignFormat(text).has_value();
}

}  // namespace

std::vector<CFinding> FindInHexOrHcdFile(std::FILE* file, const std::string& name) {
    const bool loads = LoadsAsHex(file, name);
    std::rewind(file);
    const bool isHex = loads || LooksLikeText(file);
    std::rewind(file);
    return isHex ? FindInHexFile(file, name) : FindInHcdFile(file, name);
}
