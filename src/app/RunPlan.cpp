#include "app/RunPlan.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "download/VintorPhases.h"
#include "image/HciCommand.h"
#include "util/FormatText.h"
#include "util/Wrap32.h"

namespace {

constexpr double SECONDS_PER_BYTE = 10.0 / 115200;  // start bit, 8 data bits, stop bit
constexpr double POLL_SECONDS = 0.004;
constexpr unsigned int MAX_SHOWN_AREAS = 16;
constexpr unsigned int LARGEST_RECORD = 251;

// Bytes of an exchange besides its data, packet indicators included.
constexpr unsigned int WRITE_OVERHEAD = 8 + 7;
constexpr unsigned int READ_OVERHEAD = 9 + 8;
constexpr unsigned int CRC_OVERHEAD = 12 + 11;

// A reply is seen at the first poll after its last byte.
double ExchangeSeconds(unsigned int bytes) {
    return std::ceil(bytes * SECONDS_PER_BYTE / POLL_SECONDS) * POLL_SECONDS;
}

std::string KindName(const std::string& sourceType) {
    return sourceType == "MINIDRIVER" ? "minidriver"
           : sourceType == "FIRMWARE" ? "firmware"
                                      : "configuration";
}

// Cuts the ranges as the download does. overhead: of each exchange. Returns the seconds it takes.
double PlanRecords(CPlannedFile& file, unsigned int maxSize, unsigned int overhead) {
    double seconds = 0;
    file.m_nRecords = 0;
    for (unsigned int i = 0; i < file.m_pImage->CountContiguousRanges(); ++i) {
        for (unsigned int left = file.m_pImage->GetRangeByteSize(i); left != 0;) {
            const unsigned int size = NextVintorRecordSize(maxSize, left);
            if (size == 0) {
                file.m_bStalls = true;
                return seconds;
            }
            if (size > LARGEST_RECORD && file.m_nRefusedSize == 0) {
                file.m_nRefusedSize = size;
            }
            left -= size;
            ++file.m_nRecords;
            seconds += ExchangeSeconds(size + overhead);
        }
    }
    return seconds;
}

void PlanImages(CRunPlan& plan, const CChipImageLoadingInformation& info) {
    for (unsigned int i = 0; i < info.CountChunks(); ++i) {
        const CChipImageByteData& image = info.GetChunk(i);
        plan.m_Files.push_back({KindName(image.GetSourceType()), image.GetSourceId(), &image});
    }
    // Images are in the order of reading, but firmware is written before configuration data.
    std::stable_partition(plan.m_Files.begin(), plan.m_Files.end(), [](const CPlannedFile& file) {
        return file.m_strKind != "configuration";
    });
}

void AddPhaseNames(CRunPlan& plan, const CChipImageLoadingInformation& info,
                   const CVintorPhases& phases) {
    const CDownloadRulesSet* rules = info.GetRules();
    const bool hasMessages =
        rules != nullptr && rules->GetDownloadParameter("CustomVintorPreloadMessages") != nullptr;
    const std::pair<bool, const char*> wanted[] = {
        {hasMessages, "preload messages"},
        {info.NeedToIssueDownloadMinidriverCommand(), "Download Minidriver"},
        {true, "HCI Reset"},
        {info.GetDescriptor().CountMinidriverFiles() == 1, "minidriver"},
        {phases.m_bErase, "chip erase"},
        {phases.m_bWrite, phases.m_bCheckCRC ? "write with CRC check" : "write"},
        {phases.m_bVerify, "read back"},
        {true, "launch"}};
    for (const auto& [isWanted, name] : wanted) {
        if (isWanted) {
            plan.m_Phases.emplace_back(name);
        }
    }
}

void PlanStandard(CRunPlan& plan, const CChipImageLoadingInformation& info) {
    std::string error;
    const CVintorPhases phases = DecideVintorPhases(info, &error);
    plan.m_strError = plan.m_strError.empty() ? error : plan.m_strError;
    plan.m_strMemory = phases.m_strMemory;
    plan.m_nLaunchAddress = info.GetLaunchAddress();
    AddPhaseNames(plan, info, phases);
    for (CPlannedFile& file : plan.m_Files) {
        const bool isMinidriver = file.m_strKind == "minidriver";
        const unsigned int maxSize = MaxVintorRecordSize(info, isMinidriver);
        const double writing = PlanRecords(file, maxSize, WRITE_OVERHEAD);
        const double reading = PlanRecords(file, maxSize, READ_OVERHEAD);
        const double checking =
            file.m_pImage->CountContiguousRanges() * ExchangeSeconds(CRC_OVERHEAD);
        plan.m_dSeconds += isMinidriver || phases.m_bWrite ? writing : 0;
        plan.m_dSeconds += !isMinidriver && phases.m_bVerify ? reading : 0;
        plan.m_dSeconds += !isMinidriver && phases.m_bWrite && phases.m_bCheckCRC ? checking : 0;
    }
}

void PlanCustom(CRunPlan& plan) {
    plan.m_Phases = {"patch records"};
    for (CPlannedFile& file : plan.m_Files) {
        file.m_nRecords = file.m_pImage->CountContiguousRanges();
        for (unsigned int i = 0; i < file.m_nRecords; ++i) {
            constexpr unsigned int RESPONSE_SIZE = 5;
            plan.m_dSeconds += ExchangeSeconds(file.m_pImage->GetRangeByteSize(i) + RESPONSE_SIZE);
        }
    }
}

std::string AreaText(unsigned int address, unsigned int size) {
    return FormatText("  [%08X..%08X] %u bytes\n", address,
                      WrappingSubtract(WrappingAdd(address, size), 1), size);
}

std::string FileText(const CPlannedFile& file, bool hasAddresses) {
    const CChipImageByteData& image = *file.m_pImage;
    const unsigned int count = image.CountContiguousRanges();
    std::string text =
        file.m_strKind + " " + file.m_strName +
        FormatText(": %u bytes in %u records", image.GetTotalByteSize(), file.m_nRecords);
    if (file.m_strKind == "minidriver") {
        text += FormatText(", launched at 0x%08X", MinidriverLaunchAddress(image));
    }
    text += '\n';
    for (unsigned int i = 0; hasAddresses && i < count && i < MAX_SHOWN_AREAS; ++i) {
        text += AreaText(image.GetRangeStartingAddress(i), image.GetRangeByteSize(i));
    }
    if (hasAddresses && count > MAX_SHOWN_AREAS) {
        text += FormatText("  and %u more areas\n", count - MAX_SHOWN_AREAS);
    }
    return text;
}

CJsonText FileJson(const CPlannedFile& file, bool hasAddresses) {
    const CChipImageByteData& image = *file.m_pImage;
    std::vector<CJsonText> areas;
    for (unsigned int i = 0; hasAddresses && i < image.CountContiguousRanges(); ++i) {
        const unsigned int address = image.GetRangeStartingAddress(i);
        areas.push_back(CJsonText::Object({{"address", address},
                                           {"addressText", FormatText("0x%08X", address)},
                                           {"size", image.GetRangeByteSize(i)}}));
    }
    return CJsonText::Object({{"kind", file.m_strKind},
                              {"name", file.m_strName},
                              {"bytes", image.GetTotalByteSize()},
                              {"records", file.m_nRecords},
                              {"areas", CJsonText::Array(areas)}});
}

}  // namespace

unsigned int MinidriverLaunchAddress(const CChipImageByteData& image) {
    return image.IsLaunchAddressKnown() ? image.GetLaunchAddress() : image.GetFirstAddressLoaded();
}

CRunPlan MakeRunPlan(const CRequest& request, const CChipImageLoadingInformation& info,
                     const std::string& error) {
    CRunPlan plan;
    plan.m_strPort = request.m_strPort;
    plan.m_strError = error;
    PlanImages(plan, info);
    if (request.m_bVintorMode) {
        plan.m_strKind = "standard";
        PlanStandard(plan, info);
    } else if (CustomDownloadType(request) != nullptr) {
        plan.m_strKind = "custom";
        PlanCustom(plan);
    } else {
        plan.m_strKind = "no";
        plan.m_strError = "it loads nothing and does not end";
    }
    return plan;
}

std::string CRunPlan::Text() const {
    const bool isStandard = m_strKind == "standard";
    std::string text = m_strKind + " download" + (m_strPort.empty() ? "" : " to " + m_strPort);
    text.front() = static_cast<char>(std::toupper(text.front()));
    text += m_strMemory.empty() ? "\n" : ", memory " + m_strMemory + "\n";
    for (const std::string& phase : m_Phases) {
        text += (&phase == &m_Phases.front() ? "Phases: " : ", ") + phase;
    }
    text += m_Phases.empty() ? "" : "\n";
    for (const CPlannedFile& file : m_Files) {
        text += FileText(file, isStandard);
    }
    if (!m_strError.empty()) {
        return text + "The run would fail: " + m_strError + "\n";
    }
    if (isStandard) {
        text += FormatText("Launch at 0x%08X\n", m_nLaunchAddress);
    }
    return text + FormatText("At least %.1f seconds on the line, %s\n", m_dSeconds,
                             isStandard ? "without the time of a chip erase" : "without pauses");
}

CJsonText CRunPlan::Json() const {
    const bool isStandard = m_strKind == "standard";
    std::vector<CJsonText> files;
    for (const CPlannedFile& file : m_Files) {
        files.push_back(FileJson(file, isStandard));
    }
    const CJsonText launch = isStandard ? CJsonText(m_nLaunchAddress) : nullptr;
    const CJsonText error = m_strError.empty() ? CJsonText(nullptr) : m_strError;
    return CJsonText::Object({{"kind", m_strKind},
                              {"port", m_strPort},
                              {"memory", m_strMemory},
                              {"phases", CJsonText::Array({m_Phases.begin(), m_Phases.end()})},
                              {"files", CJsonText::Array(files)},
                              {"launchAddress", launch},
                              {"secondsOnLine", std::round(m_dSeconds * 1000) / 1000},
                              {"error", error}});
}
