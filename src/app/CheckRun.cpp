#include "app/CheckRun.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string_view>

#include "app/ArgumentFindings.h"
#include "app/Arguments.h"
#include "app/RequestFindings.h"
#include "app/RunPlan.h"
#include "download/ChipDownloader.h"
#include "image/ImageFindings.h"
#include "os/Terminal.h"
#include "rules/RuleFindings.h"
#include "transport/SerialConnector.h"
#include "util/FileHandle.h"

namespace {

using enum FindingSeverity;
using Findings = std::vector<CFinding>;

constexpr int STATUS_NO_OUTPUT = 2;

// Stands for the line while a custom download is prepared, which may send one command: nothing goes
// out, and the command counts as answered.
class CNoLine final : public CSerialConnector {
public:
    std::string Connect(CCommunicationParameters& /*params*/, RxCallback /*rxCallback*/,
                        void* /*context*/) override {
        return {};
    }
    std::string Disconnect() override { return {}; }
    std::string TransmitBytes(unsigned char* /*bytes*/, unsigned int /*count*/) override {
        return {};
    }
    std::string ReadReceivedBytes(unsigned char* buf, unsigned int maxBytes,
                                  unsigned int* gotBytes) override {
        static constexpr unsigned char SECURE_MODE_DISABLED[] = {0x10, 0x4F, 0x23, 0x01, 0x00};
        *gotBytes = std::min(maxBytes, static_cast<unsigned int>(sizeof SECURE_MODE_DISABLED));
        std::copy_n(SECURE_MODE_DISABLED, *gotBytes, buf);
        return {};
    }
};

// Final, so that it may be deleted.
class CUnsentDownload final : public CChipDownloader {
public:
    using CChipDownloader::CChipDownloader;
};

using FileScan = Findings (*)(std::FILE* file, const std::string& name);

class CCheck {
public:
    // Returns what the run would do.
    CRunPlan Run(int argc, char** argv) {
        std::string rulesPath;
        Append(FindInArguments(argc, argv, &rulesPath));
        CRequest request;
        const std::string error = ReadOptions(argc, argv, request);
        if (!rulesPath.empty() && IsFile(rulesPath.substr(0, rulesPath.find('@')))) {
            Append(FindInRules(rulesPath, !request.m_bVintorMode));
        }
        if (!error.empty()) {
            m_Findings.push_back(
                {ERROR,
                 {""},
                 error == "NA" ? "The rule file is missing or not a VNP file" : error,
                 "The run ends with status 255"});
            CRunPlan plan;
            plan.m_strKind = "no";
            plan.m_strError = error;
            return plan;
        }
        return CheckRequest(request);
    }

    const Findings& GetFindings() const { return m_Findings; }

private:
    void Append(const Findings& more) {
        m_Findings.insert(m_Findings.end(), more.begin(), more.end());
    }

    // A pipe gives its contents to the first reader, which must be the one of the run.
    bool IsFile(const std::string& name) {
        std::error_code ignored;
        if (std::filesystem::exists(name, ignored) &&
            !std::filesystem::is_regular_file(name, ignored)) {
            m_Findings.push_back({WARNING,
                                  {name},
                                  "This is no regular file",
                                  "It can be read only once, so its contents were not checked"});
            return false;
        }
        return true;
    }

    CRunPlan CheckRequest(const CRequest& request) {
        CheckFiles(request);
        m_Downloader.emplace(DescribeDownload(request), &m_Line);
        CChipImageLoadingInformation& info = *m_Downloader->DownloadInfo();
        const std::string error = info.PrepareToLoad(&*m_Downloader);
        CRunPlan plan = MakeRunPlan(request, info, error);
        Append(FindInRequest(request, info, plan));
        if (!error.empty() && StatusOfFindings(m_Findings) < 2) {
            m_Findings.push_back({ERROR, {""}, error, "The run ends with status 241"});
        }
        return plan;
    }

    void CheckFiles(const CRequest& request) {
        const CChipDownloadDescriptor& files = request.m_Descriptor;
        const bool isCustom = CustomDownloadType(request) != nullptr;
        for (unsigned int i = 0; i < files.CountMinidriverFiles(); ++i) {
            CheckFile(files.GetMinidriverFile(i), FindInHexOrHcdFile);
        }
        for (unsigned int i = 0; i < files.CountConfigDataFiles(); ++i) {
            CheckFile(files.GetConfigDataFile(i), isCustom ? FindInNcdFile : FindInHexOrHcdFile);
        }
        for (unsigned int i = 0; i < files.CountFirmwareFiles(); ++i) {
            CheckFile(files.GetFirmwareFile(i), FindInHexFile);
        }
    }

    void CheckFile(const std::string& name, FileScan scan) {
        const CFileHandle file = IsFile(name) ? OpenFileForReading(name.c_str()) : nullptr;
        if (file) {
            Append(scan(file.get(), name));
        }
    }

    Findings m_Findings;
    CNoLine m_Line;
    std::optional<CUnsentDownload> m_Downloader;  // owns the images of the plan
};

std::string Count(std::ptrdiff_t count, const char* what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string Text(const CRunPlan& plan, const Findings& findings) {
    std::string text = plan.Text();
    for (const CFinding& finding : findings) {
        text += finding.Text() + "\n";
    }
    const auto errors =
        std::count_if(findings.begin(), findings.end(),
                      [](const CFinding& finding) { return finding.m_Severity == ERROR; });
    const auto warnings = static_cast<std::ptrdiff_t>(findings.size()) - errors;
    return text + (findings.empty()
                       ? "Nothing found\n"
                       : Count(errors, "error") + ", " + Count(warnings, "warning") + "\n");
}

std::string Json(const CRunPlan& plan, const Findings& findings) {
    std::vector<CJsonText> items;
    for (const CFinding& finding : findings) {
        items.push_back(finding.Json());
    }
    return CJsonText::Object({{"schema", 1},
                              {"status", StatusOfFindings(findings)},
                              {"run", plan.Json()},
                              {"findings", CJsonText::Array(items)}})
               .Text() +
           "\n";
}

}  // namespace

std::optional<int> CheckRun(int argc, char** argv) {
    using namespace std::string_view_literals;
    if (argc < 2 || argv[1] != "--check"sv) {
        return std::nullopt;
    }
    const bool isJson = argc > 2 && argv[2] == "--json"sv;
    std::vector<char*> arguments(argv + (isJson ? 3 : 2), argv + argc);
    arguments.insert(arguments.begin(), argv[0]);
    CCheck check;
    const CRunPlan plan = check.Run(static_cast<int>(arguments.size()), arguments.data());
    const Findings& findings = check.GetFindings();
    const std::string text = isJson ? Json(plan, findings) : Text(plan, findings);
    std::fputs(CTerminal(stdout).Shown(text).c_str(), stdout);
    return std::fflush(stdout) == 0 ? StatusOfFindings(findings) : STATUS_NO_OUTPUT;
}
