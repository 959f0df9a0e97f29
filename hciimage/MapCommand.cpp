#include "hciimage/MapCommand.h"

#include <cstdio>
#include <filesystem>

#include "hciimage/MapPicture.h"
#include "hciimage/MemoryFiles.h"
#include "os/Terminal.h"
#include "util/WholeFile.h"

std::string DrawMap(const IMAGE_ARGUMENTS& arguments) {
    CMemoryFiles files;
    std::string error = files.Read(arguments.files);
    if (!error.empty()) {
        return error;
    }
    std::vector<std::string> names;
    for (const CImageFileRequest& request : arguments.files) {
        names.push_back(std::filesystem::path(request.m_strName).filename().string());
    }
    const std::vector<MAP_ITEM> items = LayOutMap(files.Map());
    if (arguments.picture.empty()) {
        std::fputs(CTerminal(stdout).Shown(MapText(items, names)).c_str(), stdout);
        return {};
    }
    const std::string reason = WriteWholeFile(arguments.picture, MapSvg(items, names));
    return reason.empty() ? "" : "cannot write " + arguments.picture + ": " + reason;
}
