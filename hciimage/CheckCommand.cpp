#include "hciimage/CheckCommand.h"

#include <cstdio>

#include "image/ImageFile.h"
#include "image/ImageFindings.h"
#include "image/RewindableFile.h"
#include "os/Terminal.h"

namespace {

std::vector<CFinding> FindIn(std::FILE* file, const CImageFileRequest& request) {
    const std::string& name = request.m_strName;
    const auto format = request.m_Format ? request.m_Format : ImageFormatOfName(name);
    if (format == ImageFormat::NCD) {
        return FindInNcdFile(file, name);
    }
    if (request.m_Format == ImageFormat::HEX) {
        return FindInHexFile(file, name);
    }
    if (request.m_Format == ImageFormat::HCD) {
        return FindInHcdFile(file, name);
    }
    return FindInHexOrHcdFile(file, name);
}

}  // namespace

std::string CheckFiles(const IMAGE_ARGUMENTS& arguments, int* status) {
    std::vector<CFinding> findings;
    for (const CImageFileRequest& request : arguments.files) {
        if (request.m_Format == ImageFormat::RAW) {
            return request.m_strName + ": raw bytes are never wrong";
        }
        const CFileHandle file = OpenRewindable(request.m_strName.c_str());
        if (!file) {
            return request.m_strName + ": cannot be read";
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
