#include "app/RunReport.h"

#include <cmath>
#include <cstdio>
#include <filesystem>

#include "app/Request.h"
#include "download/DownloadRecord.h"
#include "os/Clock.h"
#include "os/Terminal.h"
#include "transport/LineMeter.h"
#include "util/Crc32.h"
#include "util/FileHandle.h"
#include "util/FormatText.h"
#include "util/WholeFile.h"

namespace {

namespace fs = std::filesystem;

constexpr unsigned int SCHEMA = 1;
constexpr double BAUD = 115200;
constexpr double BITS_PER_BYTE = 10;  // with start and stop bit

using Duration = std::chrono::nanoseconds;

// ISO 8601 with milliseconds and the zone.
std::string TimeOfDay() {
    const timeval now = CClock::InUse().Now();
    tm local{};
    localtime_r(&now.tv_sec, &local);
    char dateAndTime[32];
    char zone[8];  // +hhmm
    std::strftime(dateAndTime, sizeof dateAndTime, "%Y-%m-%dT%H:%M:%S", &local);
    std::strftime(zone, sizeof zone, "%z", &local);
    return FormatText("%s.%03d%.3s:%s", dateAndTime, static_cast<int>(now.tv_usec / 1000), zone,
                      zone + 3);
}

double Seconds(Duration time) {
    return std::chrono::duration<double>(time).count();
}

CJsonText JsonSeconds(Duration time) {
    return static_cast<double>(std::chrono::round<std::chrono::milliseconds>(time).count()) / 1000;
}

CJsonText Hex(unsigned int value) {
    return FormatText("0x%08X", value);
}

std::optional<unsigned int> FileCRC(const std::string& path) {
    const CFileHandle file = OpenFileForReading(path.c_str());
    if (!file) {
        return std::nullopt;
    }
    unsigned int value = INITIAL_CRC_VALUE;
    unsigned char bytes[65536];
    std::size_t count = 0;
    while ((count = std::fread(bytes, 1, sizeof bytes, file.get())) > 0) {
        value = update_crc(value, bytes, static_cast<unsigned int>(count));
    }
    return std::ferror(file.get()) == 0 ? std::optional(final_update_crc(value, nullptr, 0))
                                        : std::nullopt;
}

CJsonText Mode(const CRequest& request) {
    if (request.m_pReadout != nullptr) {
        return request.m_pReadout->m_bOnlyCRC ? "crc" : "read";
    }
    if (request.m_bVintorMode) {
        return "standard";
    }
    return CustomDownloadType(request) == nullptr ? "none" : "custom";
}

CJsonText Rules(const CRequest& request) {
    if (request.m_Descriptor.CountRuleSets() == 0) {
        return nullptr;
    }
    const CDownloadRulesSet& rules = request.m_Descriptor.GetRuleSet(0);
    return CJsonText::Object({{"path", rules.GetFileName()}, {"set", rules.GetSetName()}});
}

}  // namespace

CRunReport::CRunReport() : m_strStart(TimeOfDay()), m_Start(CClock::InUse().Elapsed()) {}

CRunReport::Duration CRunReport::SinceStart() const {
    return CClock::InUse().Elapsed() - m_Start;
}

std::string CRunReport::Open(const CRequest& request, const char* version) {
    const std::string reason = MakeRoomForWholeFile(request.m_strReportFile);
    if (!reason.empty()) {
        return "Report file cannot be written -- " + request.m_strReportFile + ": " + reason;
    }
    m_pRequest = &request;
    m_strVersion = version;
    const CChipDownloadDescriptor& files = request.m_Descriptor;
    for (unsigned int i = 0; i < files.CountMinidriverFiles(); ++i) {
        AddInput("minidriver", files.GetMinidriverFile(i));
    }
    for (unsigned int i = 0; i < files.CountConfigDataFiles(); ++i) {
        AddInput("config", files.GetConfigDataFile(i));
    }
    for (unsigned int i = 0; i < files.CountFirmwareFiles(); ++i) {
        AddInput("firmware", files.GetFirmwareFile(i));
    }
    if (files.CountRuleSets() > 0) {
        AddInput("rules", files.GetRuleSet(0).GetFileName());
        m_Inputs.back().m_strFormat = "VNP";
    }
    return {};
}

// Now, because a file may be another one by the end of the run.
void CRunReport::AddInput(const char* kind, const std::string& path) {
    CInput& input = m_Inputs.emplace_back();
    input.m_szKind = kind;
    input.m_strPath = path;
    std::error_code error;
    // Reading a pipe would take its bytes away from the run.
    if (fs::is_regular_file(path, error)) {
        input.m_Size = fs::file_size(path, error);
        input.m_CRC = FileCRC(path);
    }
}

// Each file becomes one image, until one cannot be read.
void CRunReport::FilesRead(const CChipImageLoadingInformation& info) {
    m_AreaOf.clear();
    for (unsigned int i = 0; i < info.CountChunks() && i < m_Inputs.size(); ++i) {
        const CChipImageByteData& image = info.GetChunk(i);
        CInput& input = m_Inputs[i];
        input.m_strFormat = image.GetFormat();
        // The records of a custom download have no addresses.
        const unsigned int areas = info.IsVintorMode() ? image.CountContiguousRanges() : 0;
        input.m_Areas.clear();
        input.m_Areas.reserve(areas);
        for (unsigned int k = 0; k < areas; ++k) {
            const CByteBuffer& range = image.GetByteBuffer(k);
            const unsigned int size = range.GetDataByteSize();
            input.m_Areas.push_back(
                {range.GetBaseAddress(), size, crc(range.GetDataBuffer(), size)});
            m_AreaOf[&range] = &input.m_Areas.back();
        }
    }
}

void CRunReport::PhaseChanged(DownloadPhases phase) {
    const Duration now = SinceStart();
    m_Phases[m_Phase].m_Time += now - m_PhaseStart;
    m_PhaseStart = now;
    m_Phase = phase;
    m_Phases[phase].m_bEntered = true;
}

void CRunReport::RecordDone(unsigned int size) {
    ++m_Phases[m_Phase].m_nRecords;
    m_Phases[m_Phase].m_nBytes += size;
}

void CRunReport::AreaDone(const CByteBuffer& area) {
    const auto found = m_AreaOf.find(&area);
    if (found == m_AreaOf.end()) {
        return;
    }
    switch (m_Phase) {
        case PHASE_CHECK:
            found->second->m_bChecked = true;
            break;
        case PHASE_VERIFY:
            found->second->m_bReadBack = true;
            break;
        default:
            found->second->m_bWritten = true;
    }
}

CRunReport::Duration CRunReport::TimeOfPhases() const {
    Duration sum{};
    for (unsigned int phase = PHASE_NONE + 1; phase <= PHASE_LAUNCH; ++phase) {
        sum += m_Phases[phase].m_Time;
    }
    return sum;
}

CJsonText CRunReport::DurationOf(DownloadPhases phase) const {
    return m_Phases[phase].m_bEntered ? JsonSeconds(m_Phases[phase].m_Time) : nullptr;
}

CJsonText CRunReport::Durations() const {
    return CJsonText::Object({
        {"total", JsonSeconds(SinceStart())},
        {"connecting", JsonSeconds(m_Connecting)},
        {"preload", DurationOf(PHASE_PRELOAD)},
        {"minidriver", DurationOf(PHASE_MINIDRIVER)},
        {"erase", DurationOf(PHASE_ERASE)},
        {"write", DurationOf(PHASE_WRITE)},
        {"check", DurationOf(PHASE_CHECK)},
        {"verify", DurationOf(PHASE_VERIFY)},
        {"launch", DurationOf(PHASE_LAUNCH)},
    });
}

CJsonText CRunReport::Inputs() const {
    std::vector<CJsonText> inputs;
    for (const CInput& input : m_Inputs) {
        std::vector<CJsonText> areas;
        for (const CArea& area : input.m_Areas) {
            areas.push_back(CJsonText::Object({{"address", area.m_nAddress},
                                               {"addressHex", Hex(area.m_nAddress)},
                                               {"size", area.m_nSize}}));
        }
        inputs.push_back(CJsonText::Object({
            {"path", input.m_strPath},
            {"kind", input.m_szKind},
            {"format", input.m_strFormat.empty() ? nullptr : CJsonText(input.m_strFormat)},
            {"size", input.m_Size ? CJsonText(*input.m_Size) : nullptr},
            {"crc32", input.m_CRC ? CJsonText(*input.m_CRC) : nullptr},
            {"crc32Hex", input.m_CRC ? Hex(*input.m_CRC) : nullptr},
            {"areas", CJsonText::Array(areas)},
        }));
    }
    return CJsonText::Array(inputs);
}

CJsonText CRunReport::AreaText(const CArea& area, const char* kind) {
    return CJsonText::Object({
        {"address", area.m_nAddress},
        {"addressHex", Hex(area.m_nAddress)},
        {"size", area.m_nSize},
        {"kind", kind},
        {"crc32", area.m_nCRC},
        {"crc32Hex", Hex(area.m_nCRC)},
        {"written", area.m_bWritten},
        {"crcChecked", area.m_bChecked},
        {"readBack", area.m_bReadBack},
    });
}

CJsonText CRunReport::FilledAreas() const {
    std::vector<CJsonText> areas;
    for (const CInput& input : m_Inputs) {
        for (const CArea& area : input.m_Areas) {
            if (area.m_bWritten || area.m_bReadBack) {
                areas.push_back(AreaText(area, input.m_szKind));
            }
        }
    }
    if (const CMemoryReadout* const readout = m_pRequest->m_pReadout.get()) {
        for (unsigned int i = 0; i < readout->m_CRCs.size(); ++i) {
            const CByteBuffer& area = readout->m_Memory.GetByteBuffer(i);
            areas.push_back(
                AreaText({area.GetBaseAddress(), area.GetDataByteSize(), readout->m_CRCs[i], false,
                          readout->m_bOnlyCRC, !readout->m_bOnlyCRC},
                         "memory"));
        }
    }
    return CJsonText::Array(areas);
}

CJsonText CRunReport::Amount(std::initializer_list<DownloadPhases> phases) const {
    CPhase sum;
    for (const DownloadPhases phase : phases) {
        sum.m_Time += m_Phases[phase].m_Time;
        sum.m_nRecords += m_Phases[phase].m_nRecords;
        sum.m_nBytes += m_Phases[phase].m_nBytes;
    }
    // Without time, the rate is no number, and therefore null.
    return CJsonText::Object({
        {"records", sum.m_nRecords},
        {"bytes", sum.m_nBytes},
        {"bytesPerSecond", std::round(sum.m_nBytes / Seconds(sum.m_Time))},
    });
}

CJsonText CRunReport::Line(const CLineMeter& line) const {
    const auto bytes = static_cast<double>(line.CountSentByHost() + line.CountSentByChip());
    const double seconds = Seconds(TimeOfPhases());
    return CJsonText::Object({
        {"sentBytes", line.CountSentByHost()},
        {"receivedBytes", line.CountSentByChip()},
        {"used", std::round(1000 * bytes * BITS_PER_BYTE / BAUD / seconds) / 1000},
    });
}

void CRunReport::Close(const CLineMeter& line, const std::string& error, int exitStatus) {
    if (m_pRequest == nullptr) {
        return;
    }
    const std::string& path = m_pRequest->m_strReportFile;
    const CJsonText report = CJsonText::Object({
        {"schema", SCHEMA},
        {"program", "hciload"},
        {"version", m_strVersion},
        {"start", m_strStart},
        {"end", TimeOfDay()},
        {"seconds", Durations()},
        {"port", m_pRequest->m_strPort},
        {"mode", Mode(*m_pRequest)},
        {"rules", Rules(*m_pRequest)},
        {"inputs", Inputs()},
        {"areas", FilledAreas()},
        {"written", Amount({PHASE_MINIDRIVER, PHASE_WRITE})},
        {"readBack", Amount({PHASE_VERIFY})},
        {"line", Line(line)},
        {"state", CDownloadRecord::GetStateName(m_State)},
        {"error", error.empty() ? nullptr : CJsonText(error)},
        // As the caller of the program sees it.
        {"exitStatus", exitStatus & 0xFF},
    });
    const std::string reason = WriteWholeFile(path, report.Text() + "\n");
    if (!reason.empty()) {
        const std::string text = "Writing the report " + path + " failed: " + reason;
        std::fprintf(stderr, "%s\n", CTerminal(stderr).Shown(text).c_str());
    }
}
