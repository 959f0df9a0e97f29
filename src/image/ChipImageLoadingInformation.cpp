#include "image/ChipImageLoadingInformation.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "image/VintorConfigProcessor.h"
#include "transport/CommunicationParameters.h"
#include "util/NumberText.h"
#include "util/TextCase.h"

namespace {

// The two differ in case on purpose: they are names that users have on their disks.
constexpr char DEFAULT_MINIDRIVERS_DIRECTORY[] = R"(C:\Program Files\Orvane\Vintor\Minidrivers)";
constexpr char DEFAULT_DEFINITIONS_DIRECTORY[] = R"(C:\Program Files\Orvane\VinTor\ConfigDefs\)";

constexpr std::string_view MINIDRIVERS_MARKER = "[MINIDRIVERS]";

std::string TextOf(const char* text) {
    return text == nullptr ? std::string() : std::string(text);
}

bool NamesAFile(const std::string& fileName) {
    return !fileName.empty() && !EqualIgnoringCase(fileName, "NULL");
}

// A pipe gives its bytes once: what the reader of one format has taken, that of the next misses.
bool CanBeReadAgain(const std::string& fileName) {
    std::error_code error;
    return !std::filesystem::is_fifo(fileName, error);
}

bool IsFlagSet(const CDownloadRulesSet& rules, const char* name) {
    return GetIntValue(rules.GetDownloadParameter(name)) != 0;
}

// The file to load when its flag is set: the argument, else the path that the rules give.
std::string ChooseFile(const CDownloadRulesSet& rules, const char* flagName,
                       const std::string& rulesPath, const char* argument) {
    if (!IsFlagSet(rules, flagName)) {
        return {};
    }
    const std::string fromArgument = TextOf(argument);
    return fromArgument.empty() ? rulesPath : fromArgument;
}

std::string ReplaceMinidriversMarker(const std::string& path, const std::string& directory) {
    const std::size_t marker = path.find(MINIDRIVERS_MARKER);
    if (marker == std::string::npos) {
        return path;
    }
    std::string remainder = path.substr(marker + MINIDRIVERS_MARKER.size());
    if (directory.ends_with('\\') && !remainder.empty()) {
        remainder.erase(0, 1);
    }
    return directory + remainder;
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
    CDownloadRulesSet rules("");
    if (!m_strVnpFileName.empty()) {
        rules.LoadFromDownloadParametersFile(m_strVnpFileName.c_str());
    }
    const char* customType = rules.GetDownloadParameter("CustomDownload");
    if (customType != nullptr) {
        CustomDownloadInit(customType, rules, minidriverFile, configFile, firmwareFile,
                           suppliedImages);
        return;
    }

    const std::string directory =
        minidriversDirectory == nullptr ? DEFAULT_MINIDRIVERS_DIRECTORY : minidriversDirectory;
    const std::string pathName = "DLMinidriverPath" + params.GetPortTypeName();
    const std::string minidriverPath =
        ReplaceMinidriversMarker(TextOf(rules.GetDownloadParameter(pathName.c_str())), directory);
    const std::string config =
        ChooseFile(rules, "DLConfig", TextOf(rules.GetDownloadParameter("ConfigPath")), configFile);
    const std::string firmware = ChooseFile(
        rules, "DLFirmware", TextOf(rules.GetDownloadParameter("FirmwarePath")), firmwareFile);
    const std::string minidriver =
        ChooseFile(rules, "DLMinidriver", minidriverPath, minidriverFile);
    if (VintorModeInit(minidriver.c_str(), config.c_str(), firmware.c_str(), suppliedImages)
            .empty()) {
        m_Descriptor.AddRuleSet(rules);
    }
}

CChipImageLoadingInformation::CChipImageLoadingInformation(const char* minidriverFile,
                                                           const char* configFile,
                                                           const char* firmwareFile) {
    VintorModeInit(minidriverFile, configFile, firmwareFile, nullptr);
}

std::string CChipImageLoadingInformation::VintorModeInit(
    const char* minidriverFile, const char* configFile, const char* firmwareFile,
    const std::vector<CChipImageByteData>* suppliedImages) {
    if (const std::string minidriver = TextOf(minidriverFile); !minidriver.empty()) {
        m_Descriptor.AddMinidriverFileName(minidriver);
    }
    if (const std::string config = TextOf(configFile); NamesAFile(config)) {
        m_Descriptor.AddConfigDataFileName(config);
    }
    if (const std::string firmware = TextOf(firmwareFile); NamesAFile(firmware)) {
        m_Descriptor.AddFirmwareFileName(firmware);
    }
    if (suppliedImages != nullptr) {
        m_SuppliedImages = *suppliedImages;
    }
    m_bVintorMode = true;
    m_bIssueDownloadMinidriver = true;
    return {};
}

void CChipImageLoadingInformation::CustomDownloadInit(
    const char* type, const CDownloadRulesSet& rules, const char* minidriverFile,
    const char* configFile, const char* firmwareFile,
    const std::vector<CChipImageByteData>* suppliedImages) {
    // Here "NULL" is a file name like any other.
    if (const std::string minidriver = TextOf(minidriverFile); !minidriver.empty()) {
        m_Descriptor.AddMinidriverFileName(minidriver);
    }
    if (const std::string config = TextOf(configFile); !config.empty()) {
        m_Descriptor.AddConfigDataFileName(config);
    }
    if (const std::string firmware = TextOf(firmwareFile); !firmware.empty()) {
        m_Descriptor.AddFirmwareFileName(firmware);
    }
    if (suppliedImages != nullptr) {
        m_SuppliedImages = *suppliedImages;
    }
    m_strCustomDownloadType = type;
    m_Descriptor.AddRuleSet(rules);
}

std::string CChipImageLoadingInformation::PrepareToLoad(CChipDownloader* downloader) {
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
    if (m_Descriptor.CountConfigDataFiles() == 0 && m_Descriptor.CountFirmwareFiles() == 0 &&
        m_SuppliedImages.empty() && !m_bEmptyLoadAllowed) {
        return "No data/code to load.";
    }
    if (m_Descriptor.CountMinidriverFiles() > 1) {
        return "Cannot have multiple minidrivers in Vintor mode.";
    }
    std::string error;
    if (m_Descriptor.CountMinidriverFiles() == 1) {
        error = LoadMinidriver();
    }
    for (unsigned int i = 0; error.empty() && i < m_Descriptor.CountConfigDataFiles(); ++i) {
        error = LoadConfigFile(m_Descriptor.GetConfigDataFile(i));
    }
    for (unsigned int i = 0; error.empty() && i < m_Descriptor.CountFirmwareFiles(); ++i) {
        error = LoadFirmwareFile(m_Descriptor.GetFirmwareFile(i));
    }
    if (error.empty()) {
        m_Chunks.insert(m_Chunks.end(), m_SuppliedImages.begin(), m_SuppliedImages.end());
    }
    return error;
}

std::string CChipImageLoadingInformation::LoadMinidriver() {
    const std::string fileName = m_Descriptor.GetMinidriverFile(0);
    CChipImageByteData image("MINIDRIVER", "The minidriver code", fileName.c_str());
    if (!image.LoadFromHexFile(fileName.c_str(), true, false).empty()) {
        // Where the chip is started at the end is none of the minidriver's business. Its chunk
        // keeps the launch record's address, which the minidriver itself is started at.
        unsigned int launchAddress = 0;
        if (!CanBeReadAgain(fileName) ||
            !image.LoadFromHCDFile(fileName.c_str(), &launchAddress, true).empty()) {
            return "Failed to read the minidriver file " + fileName;
        }
    }
    AddChunk(std::move(image));
    return {};
}

std::string CChipImageLoadingInformation::LoadConfigFile(const std::string& fileName) {
    CChipImageByteData image("CONFIG", "Configuration data", fileName.c_str());
    std::string error = image.LoadFromHexFile(fileName.c_str(), true, false);
    if (!error.empty() && CanBeReadAgain(fileName)) {
        error = image.LoadFromHCDFile(fileName.c_str(), &m_nLaunchAddress, true);
        if (!error.empty()) {
            error = LoadVintorConfig(fileName.c_str(), image);
        }
    }
    if (error.empty()) {
        AddChunk(std::move(image));
    }
    return error;
}

std::string CChipImageLoadingInformation::LoadFirmwareFile(const std::string& fileName) {
    CChipImageByteData image("FIRMWARE", "Firmware code", fileName.c_str());
    std::string error = image.LoadFromHexFile(fileName.c_str(), true, false);
    if (error.empty()) {
        AddChunk(std::move(image));
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
