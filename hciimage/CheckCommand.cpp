#include "hciimage/CheckCommand.h"

#include <cstdio>

#include "image/ImageFile.h"
#include "image/ImageFindings.h"
#include "os/Terminal.h"

namespace {

std::vector<CFinding> FindIn(std::FILE* file, const CImageFileRequest& request) {
    const std::string& name = request.m_strName;
    const std::optional<ImageFormat> format = KnownFormat(request);
    if (!format) {
        return FindInHexOrHcdFile(file, name);
    }
    if (*format == ImageFormat::NCD) {
        return FindInNcdFile(file, name);
    }
    return *format == ImageFormat::HEX ? FindInHexFile(file, name) : FindInHcdFile(file, name);
}

}  // namespace

std::string CheckFiles(const IMAGE_ARGUMENTS& arguments, int* status) {
    std::vector<CFinding> findings;
    for (const CImageFileRequest& request : arguments.files) {
        if (request.m_Format == ImageFormat::RAW) {
            return request.m_strName + ": raw bytes are never wrong";
        }
        CFileHandle file;
        std::string error = OpenImageFile(request, file);
        if (!error.empty()) {
            return error;
        }
        for (CFinding& finding : FindIn(file.get(), request)) {
            findings.push_back(std::move(finding));
        }
    }
    std::vector<CJsonText> json;
    for (const CFinding& finding : findings) {
        if (arguments.json) {
            json.push_back(finding.Json());
        } else {
            std::puts(CTerminal(stdout).Shown(finding.Text()).c_str());
        }
    }
    if (arguments.json) {
        std::puts(CJsonText::Array(json).Text().c_str());
    }
    *status = StatusOfFindings(findings);
    return {};
}
