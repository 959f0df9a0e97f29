#include "image/ChipImageLoadingInformation.h"

#include "image/RewindableFile.h"
#include "image/VintorConfigProcessor.h"
#include "transport/CommunicationParameters.h"
#include "util/NumberText.h"
#include "util/TextCase.h"

namespace {

// The two differ in case because the folders do on users' disks.
constexpr char DEFAULT_MINIDRIVERS_DIRECTORY[] = R"(C:\Program Files\Orvane\Vintor\Minidrivers)";
constexpr char DEFAULT_DEFINITIONS_DIRECTORY[] = R"(C:\Program Files\Orvane\VinTor\ConfigDefs\)";

constexpr std::string_view MINIDRIVERS_MARKER = "[MINIDRIVERS]";

std::string TextOf(const char* text) {
    return text == nullptr ? std::string() : std::string(text);
}

// The file to load when its flag is set: the argument, else the path that the rules give.
std::string ChooseFile(const CDownloadRulesSet& rules, const char* flagName,
                       const std::string& rulesPath, const std::string& argument) {
    if (GetIntValue(rules.GetDownloadParameter(flagName)) == 0) {
        return {};
    }
    return argument.empty() ? rulesPath : argument;
}

std::string ReplaceMinidriversMarker(const std::string& path, const std::string& directory) {
    const std::size_t marker = path.find(MINIDRIVERS_MARKER);
    if (marker == std::string::npos) {
        return path;
    }
    std::string remainder = path.substr(marker + MINIDRIVERS_MARKER.size());
    if (directory.ends_with('\\')) {
        remainder.erase(0, 1);
    }
    return directory + remainder;
}

struct CFileToLoad {
    const char* m_szName;
    std::FILE* m_pFile;  // null when it does not open
    const CChipImageLoadingInformation& m_Info;
    unsigned int* m_pLaunchAddress;
};

// Reads a file into an image; the error text is empty on success.
using Loader = std::string (*)(const CFileToLoad& file, CChipImageByteData& image);

std::string LoadHex(const CFileToLoad& file, CChipImageByteData& image) {
    return image.LoadFromHexFile(file.m_pFile, file.m_szName, true, false);
}

std::string LoadHCD(const CFileToLoad& file, CChipImageByteData& image) {
    return image.LoadFromHCDFile(file.m_pFile, file.m_szName, file.m_pLaunchAddress, true);
}

std::string LoadConfigText(const CFileToLoad& file, CChipImageByteData& image) {
    return file.m_Info.LoadVintorConfig(file.m_szName, image);
}

struct CFileKind {
    const char* m_szSourceType;
    const char* m_szName;
    std::initializer_list<Loader> m_Loaders;  // tried in this order
};

constexpr CFileKind MINIDRIVER = {"MINIDRIVER", "The minidriver code", {LoadHex, LoadHCD}};
constexpr CFileKind CONFIG = {"CONFIG", "Configuration data", {LoadHex, LoadHCD, LoadConfigText}};
constexpr CFileKind FIRMWARE = {"FIRMWARE", "Firmware code", {LoadHex}};

// Adds a chunk to info. *launchAddress changes only when an HCD file is loaded.
std::string LoadFile(const CFileKind& kind, const std::string& fileName,
                     CChipImageLoadingInformation& info, unsigned int* launchAddress) {
    const char* name = fileName.c_str();
    // One reader takes a pipe as it comes.
    const CFileHandle file =
        kind.m_Loaders.size() == 1 ? OpenFileForReading(name) : OpenRewindable(name);
    CChipImageByteData image(kind.m_szSourceType, kind.m_szName, name);
    std::string error;
    for (const Loader load : kind.m_Loaders) {
        error = load({name, file.get(), info, launchAddress}, image);
        if (error.empty()) {
            info.AddChunk(std::move(image));
            break;
        }
        if (file) {
            std::rewind(file.get());
        }
    }
    return error;
}

}  // namespace

CChipImageLoadingInformation::CChipImageLoadingInformation(
    const CChipDownloadDescriptor& descriptor, bool emptyLoadAllowed, const char* vnpFileName)
    : m_Descriptor(descriptor),
      m_strVnpFileName(TextOf(vnpFileName)),
      m_bEmptyLoadAllowed(emptyLoadAllowed) {}

CChipImageLoadingInformation::CChipImageLoadingInformation(
    const char* vnpFileName, const CCommunicationParameters& params, const char* firmwareFile,
    const char* configFile, const char* minidriverFile, const char* minidriversDirectory,
    const std::vector<CChipImageByteData>* suppliedImages)
    : m_strVnpFileName(TextOf(vnpFileName)) {
    if (suppliedImages != nullptr) {
        m_SuppliedImages = *suppliedImages;
    }
    CDownloadRulesSet rules("");
    if (!m_strVnpFileName.empty()) {
        // A constructor cannot report the error. Without parameters no file is loaded, so the
        // preparation fails unless there are supplied images, which need no parameters.
        (void)rules.LoadFromDownloadParametersFile(m_strVnpFileName.c_str());
    }
    const std::string minidriver = TextOf(minidriverFile);
    const std::string config = TextOf(configFile);
    const std::string firmware = TextOf(firmwareFile);
    if (const char* customType = rules.GetDownloadParameter("CustomDownload")) {
        m_strCustomDownloadType = customType;
        AddFiles(minidriver, config, firmware);
    } else {
        const auto pathOf = [&rules](const std::string& parameter) {
            return TextOf(rules.GetDownloadParameter(parameter.c_str()));
        };
        const std::string minidriverPath = ReplaceMinidriversMarker(
            pathOf("DLMinidriverPath" + params.GetPortTypeName()),
            minidriversDirectory == nullptr ? DEFAULT_MINIDRIVERS_DIRECTORY : minidriversDirectory);
        VintorModeInit(ChooseFile(rules, "DLMinidriver", minidriverPath, minidriver),
                       ChooseFile(rules, "DLConfig", pathOf("ConfigPath"), config),
                       ChooseFile(rules, "DLFirmware", pathOf("FirmwarePath"), firmware));
    }
    m_Descriptor.AddRuleSet(rules);
}

CChipImageLoadingInformation::CChipImageLoadingInformation(const char* minidriverFile,
                                                           const char* configFile,
                                                           const char* firmwareFile) {
    VintorModeInit(TextOf(minidriverFile), TextOf(configFile), TextOf(firmwareFile));
}

void CChipImageLoadingInformation::VintorModeInit(const std::string& minidriverFile,
                                                  const std::string& configFile,
                                                  const std::string& firmwareFile) {
    const auto nullIsNone = [](const std::string& fileName) {
        return EqualIgnoringCase(fileName, "NULL") ? std::string() : fileName;
    };
    AddFiles(minidriverFile, nullIsNone(configFile), nullIsNone(firmwareFile));
    m_bVintorMode = true;
    m_bIssueDownloadMinidriver = true;
}

void CChipImageLoadingInformation::AddFiles(const std::string& minidriverFile,
                                            const std::string& configFile,
                                            const std::string& firmwareFile) {
    if (!minidriverFile.empty()) {
        m_Descriptor.AddMinidriverFileName(minidriverFile);
    }
    if (!configFile.empty()) {
        m_Descriptor.AddConfigDataFileName(configFile);
    }
    if (!firmwareFile.empty()) {
        m_Descriptor.AddFirmwareFileName(firmwareFile);
    }
}

std::string CChipImageLoadingInformation::PrepareToLoad(CChipDownloader* downloader) {
    m_Chunks.clear();
    m_nLaunchAddress = 0;
    if (m_bVintorMode) {
        return VintorModePrepare();
    }
    if (m_strCustomDownloadType.empty()) {
        std::string error = ProcessRules();
        return error.empty() ? ProcessDataFiles() : error;
    }
    return CustomDownloadPrepare(downloader);
}

std::string CChipImageLoadingInformation::VintorModePrepare() {
    const unsigned int configFiles = m_Descriptor.CountConfigDataFiles();
    const unsigned int firmwareFiles = m_Descriptor.CountFirmwareFiles();
    if (configFiles == 0 && firmwareFiles == 0 && m_SuppliedImages.empty() &&
        !m_bEmptyLoadAllowed) {
        return "No data/code to load.";
    }
    if (m_Descriptor.CountMinidriverFiles() > 1) {
        return "Cannot have multiple minidrivers in Vintor mode.";
    }
    if (m_Descriptor.CountMinidriverFiles() == 1) {
        const std::string fileName = m_Descriptor.GetMinidriverFile(0);
        // The minidriver is launched by itself; the loaded code starts elsewhere.
        unsigned int ignoredLaunchAddress = 0;
        if (!LoadFile(MINIDRIVER, fileName, *this, &ignoredLaunchAddress).empty()) {
            return "Failed to read the minidriver file " + fileName;
        }
    }
    std::string error;
    for (unsigned int i = 0; error.empty() && i < configFiles; ++i) {
        error = LoadFile(CONFIG, m_Descriptor.GetConfigDataFile(i), *this, &m_nLaunchAddress);
    }
    for (unsigned int i = 0; error.empty() && i < firmwareFiles; ++i) {
        error = LoadFile(FIRMWARE, m_Descriptor.GetFirmwareFile(i), *this, nullptr);
    }
    if (error.empty()) {
        m_Chunks.insert(m_Chunks.end(), m_SuppliedImages.begin(), m_SuppliedImages.end());
    }
    return error;
}

std::string CChipImageLoadingInformation::LoadVintorConfig(const char* fileName,
                                                           CChipImageByteData& image) const {
    const CVintorConfigProcessor processor(GetRules(), 0, VINTOR_CONFIG_FORMAT, false, false);
    image.Clear();
    std::string error =
        processor.ProcessDynamicSectionData(fileName, image, DEFAULT_DEFINITIONS_DIRECTORY);
    if (error.empty()) {
        error = processor.ProcessStaticSectionData(image, nullptr, nullptr);
    }
    return error;
}

std::string CChipImageLoadingInformation::CustomDownloadPrepare(CChipDownloader* downloader) {
    CCustomDownloadAssistant* assistant =
        m_pMakeCustomDownloader == nullptr
            ? nullptr
            : m_pMakeCustomDownloader(m_strCustomDownloadType.c_str(), this);
    if (assistant == nullptr) {
        return "Unrecognized custom download type " + m_strCustomDownloadType;
    }
    m_CustomDownloader = CCustomDownloadAssistantRef(assistant);
    return assistant->DownloadPrepare(downloader);
}

unsigned int CChipImageLoadingInformation::FindNextDataChunk(const char* name,
                                                             const char* sourceType,
                                                             unsigned int start) const {
    for (unsigned int i = start; i < CountChunks(); ++i) {
        const CChipImageByteData& chunk = m_Chunks[i];
        const bool nameMatches = name == nullptr || EqualIgnoringCase(chunk.GetName(), name);
        const bool typeMatches =
            sourceType == nullptr || EqualIgnoringCase(chunk.GetSourceType(), sourceType);
        if (nameMatches && typeMatches) {
            return i;
        }
    }
    return NO_CHUNK;
}

const CDownloadRulesSet* CChipImageLoadingInformation::GetRules() const {
    return m_Descriptor.CountRuleSets() == 0 ? nullptr : &m_Descriptor.GetRuleSet(0);
}

std::string CChipImageLoadingInformation::GetVintorMemoryType(std::string* error) const {
    const CDownloadRulesSet* rules = GetRules();
    if (rules == nullptr) {
        return {};
    }
    const char* targeting = rules->GetDownloadParameter("DLConfigTargeting");
    if (targeting == nullptr) {
        if (error != nullptr) {
            *error = "Missing download parameter DLConfigTargeting";
        }
        return {};
    }
    const std::string value = UpperCaseCopy(targeting);
    for (const char* type : {"EEPROM", "FLASH", "RAM"}) {
        if (value.find(type) != std::string::npos) {
            return type;
        }
    }
    return "???";
}
