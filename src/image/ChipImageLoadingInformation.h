#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "image/ChipImageByteData.h"
#include "image/CustomDownloadAssistant.h"
#include "rules/ChipDownloadDescriptor.h"

class CChipDownloader;
class CCommunicationParameters;
struct CMemoryReadout;

// Says what is to be loaded and how: the request, the user's overrides, and, once prepared, the
// images (minidriver, configuration, firmware, supplied, in this order). All parameters come from
// rule set 0 of the request.
//
// Operations that can fail return an error text, empty on success. Copies share the custom download
// assistant. No locks: prepared before the download thread starts, only read after that.
class CChipImageLoadingInformation {
public:
    // The result of FindNextDataChunk when there is no such chunk.
    static constexpr unsigned int NO_CHUNK = 0xFFFFFFFFU;

    // vnpFileName may be null. emptyLoadAllowed: preparing without any data file is no error.
    CChipImageLoadingInformation(const CChipDownloadDescriptor& descriptor, bool emptyLoadAllowed,
                                 const char* vnpFileName);

    // Takes the files from the rules of a VNP file; file arguments override these. Any text may be
    // null. suppliedImages, which may be null, are loaded after the files.
    CChipImageLoadingInformation(const char* vnpFileName, const CCommunicationParameters& params,
                                 const char* firmwareFile, const char* configFile,
                                 const char* minidriverFile, const char* minidriversDirectory,
                                 const std::vector<CChipImageByteData>* suppliedImages);

    // Loads the three files in Vintor mode; any of them may be null.
    CChipImageLoadingInformation(const char* minidriverFile, const char* configFile,
                                 const char* firmwareFile);

    void MarkVintorMode() { m_bVintorMode = true; }
    bool IsVintorMode() const { return m_bVintorMode; }
    void SetFlagIssueDownloadMinidriverCommand(bool issue) { m_bIssueDownloadMinidriver = issue; }
    bool NeedToIssueDownloadMinidriverCommand() const { return m_bIssueDownloadMinidriver; }

    // Bytes in a record of the minidriver; 0 = no override.
    void SetDLMinidriverChunkSizeOverride(unsigned int size) { m_nMinidriverChunkSize = size; }
    unsigned int GetDLMinidriverChunkSizeOverride() const { return m_nMinidriverChunkSize; }

    // The overrides: -1 = the rule set decides, 0 = no, 1 = yes.
    void SetNeedToErase(bool need) { m_nNeedToErase = need ? 1 : 0; }
    void SetNeedToWrite(bool need) { m_nNeedToWrite = need ? 1 : 0; }
    void SetNeedToVerify(bool need) { m_nNeedToVerify = need ? 1 : 0; }
    void SetNeedToCheckCRC(bool need) { m_nNeedToCheckCRC = need ? 1 : 0; }
    int GetNeedToErase() const { return m_nNeedToErase; }
    int GetNeedToWrite() const { return m_nNeedToWrite; }
    int GetNeedToVerify() const { return m_nNeedToVerify; }
    int GetNeedToCheckCRC() const { return m_nNeedToCheckCRC; }

    // Names the procedure that downloads outside Vintor mode, with the configuration files as its
    // input. Call it before PrepareToLoad.
    void SetCustomDownloadType(std::string type) { m_strCustomDownloadType = std::move(type); }
    // Makes the assistant for that type. Without a maker, no type is recognized.
    void SetCustomDownloadAssistantMaker(CustomDownloadAssistantMaker maker) {
        m_pMakeCustomDownloader = maker;
    }
    // Null when there is none.
    const char* GetCustomDLTypeIfSpecified() const { return TextOrNull(m_strCustomDownloadType); }
    const char* GetVnpFileNameIfSpecified() const { return TextOrNull(m_strVnpFileName); }

    // Where the loaded code starts: the address of the launch record of the last HCD configuration
    // file, in a loaded range or not; 0 without one.
    unsigned int GetLaunchAddress() const { return m_nLaunchAddress; }
    CCustomDownloadAssistant* GetCustomDownloader() const { return m_CustomDownloader.Get(); }
    CChipDownloadDescriptor& GetDescriptor() { return m_Descriptor; }
    const CChipDownloadDescriptor& GetDescriptor() const { return m_Descriptor; }

    // Has memory read in place of writing files, once a minidriver has been started. Vintor mode
    // only. Copies share the readout.
    void SetReadout(std::shared_ptr<CMemoryReadout> readout) { m_pReadout = std::move(readout); }
    CMemoryReadout* GetReadout() const { return m_pReadout.get(); }  // null = a download

    // Reads every file into its chunk, or lets the custom download prepare itself. Starts over when
    // called again. Chunks read before an error stay.
    [[nodiscard]] std::string PrepareToLoad(CChipDownloader* downloader);

    unsigned int CountChunks() const { return static_cast<unsigned int>(m_Chunks.size()); }
    CChipImageByteData& GetChunk(unsigned int index) { return m_Chunks[index]; }
    const CChipImageByteData& GetChunk(unsigned int index) const { return m_Chunks[index]; }
    void AddChunk(CChipImageByteData chunk) { m_Chunks.push_back(std::move(chunk)); }

    // The index of the first chunk at or after start with this name and source type, compared
    // without regard to case; null matches everything.
    unsigned int FindNextDataChunk(const char* name, const char* sourceType,
                                   unsigned int start) const;

    // "EEPROM", "FLASH", "RAM" or "???" from the rules, "" without rules. When rules lack the
    // parameter, the result is "" and *error, which may be null, names it.
    std::string GetVintorMemoryType(std::string* error = nullptr) const;

    // Reads a configuration text into the image.
    [[nodiscard]] std::string LoadVintorConfig(const char* fileName,
                                               CChipImageByteData& image) const;

    // Rule set 0 of the request, or null.
    const CDownloadRulesSet* GetRules() const;

private:
    static const char* TextOrNull(const std::string& text) {
        return text.empty() ? nullptr : text.c_str();
    }

    void VintorModeInit(const std::string& minidriverFile, const std::string& configFile,
                        const std::string& firmwareFile);
    void AddFiles(const std::string& minidriverFile, const std::string& configFile,
                  const std::string& firmwareFile);
    std::string VintorModePrepare();
    // Rule-driven loading outside Vintor mode is reserved: it reads nothing yet.
    static std::string ProcessRules() { return {}; }
    static std::string ProcessDataFiles() { return {}; }
    std::string CustomDownloadPrepare(CChipDownloader* downloader);

    CChipDownloadDescriptor m_Descriptor;
    std::vector<CChipImageByteData> m_Chunks;
    std::vector<CChipImageByteData> m_SuppliedImages;
    std::string m_strVnpFileName;
    bool m_bVintorMode = false;
    bool m_bIssueDownloadMinidriver = true;
    std::string m_strCustomDownloadType;
    CustomDownloadAssistantMaker m_pMakeCustomDownloader = nullptr;
    CCustomDownloadAssistantRef m_CustomDownloader;
    unsigned int m_nLaunchAddress = 0;
    bool m_bEmptyLoadAllowed = false;
    int m_nNeedToErase = -1;
    int m_nNeedToWrite = -1;
    int m_nNeedToVerify = -1;
    int m_nNeedToCheckCRC = -1;
    unsigned int m_nMinidriverChunkSize = 0;
    std::shared_ptr<CMemoryReadout> m_pReadout;
};
