#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "download/RunObserver.h"
#include "util/JsonText.h"

class CLineMeter;
struct CRequest;

// Writes the file of -REPORTTO: what a run loaded, how long it took and how it ended, as one JSON
// object. docs/report.md describes it. Without Open it does nothing.
class CRunReport final : public CRunObserver {
public:
    // The run starts now.
    CRunReport();

    // Makes sure that the file can be written, and takes an older one away, so that a run that is
    // killed is not taken for the run before. The request outlives the report. Returns an error
    // text, empty on success.
    [[nodiscard]] std::string Open(const CRequest& request, const char* version);

    void ConnectingEnds() { m_Connecting = SinceStart(); }

    // Writes the report, when the run is over. A failure is a warning on standard error: it does
    // not change how the run ended.
    void Close(const CLineMeter& line, const std::string& error, int exitStatus);

    void FilesRead(const CChipImageLoadingInformation& info) override;
    void StateChanged(DownloadStates state) override { m_State = state; }
    void PhaseChanged(DownloadPhases phase) override;
    void RecordDone(unsigned int size) override;
    void AreaDone(const CByteBuffer& area) override;

private:
    using Duration = std::chrono::nanoseconds;

    struct CArea {
        unsigned int m_nAddress;
        unsigned int m_nSize;
        unsigned int m_nCRC;
        bool m_bWritten = false;
        bool m_bChecked = false;
        bool m_bReadBack = false;
    };
    struct CInput {
        const char* m_szKind;
        std::string m_strPath;
        // As it is before the run; unknown for devices and pipes.
        std::optional<std::uintmax_t> m_Size;
        std::optional<unsigned int> m_CRC;
        std::string m_strFormat;  // "" if it could not be read
        std::vector<CArea> m_Areas;
    };
    struct CPhase {
        Duration m_Time{};
        bool m_bEntered = false;
        unsigned int m_nRecords = 0;
        unsigned int m_nBytes = 0;
    };

    Duration SinceStart() const;
    void AddInput(const char* kind, const std::string& path);
    Duration TimeOfPhases() const;
    CJsonText DurationOf(DownloadPhases phase) const;
    CJsonText Durations() const;
    CJsonText Inputs() const;
    static CJsonText AreaText(const CArea& area, const char* kind);
    CJsonText FilledAreas() const;
    CJsonText Amount(std::initializer_list<DownloadPhases> phases) const;
    CJsonText Line(const CLineMeter& line) const;

    const CRequest* m_pRequest = nullptr;  // null before Open
    std::string m_strVersion;
    std::string m_strStart;  // time of day
    Duration m_Start;
    Duration m_Connecting{};
    std::vector<CInput> m_Inputs;  // in the order in which they are loaded, then the rules
    std::unordered_map<const CByteBuffer*, CArea*> m_AreaOf;
    std::array<CPhase, PHASE_LAUNCH + 1> m_Phases;
    DownloadPhases m_Phase = PHASE_NONE;
    Duration m_PhaseStart{};
    std::atomic<DownloadStates> m_State = DOWNLOAD_UNINITIALIZED;
};
