#include "app/StatusLine.h"

#include <algorithm>
#include <cmath>

#include "util/FormatText.h"

namespace {

// Fixed, so that the bar keeps its length when figures become known.
constexpr std::size_t MOST_FIGURES = sizeof "  []  100%  100.0 kB/s  59:59 gone, 59:59 left" - 1;
constexpr std::size_t SHORTEST_BAR = 5;
constexpr std::size_t LONGEST_BAR = 30;

// Null where there is nothing to wait for.
const char* PhaseOf(DownloadStates state) {
    switch (state) {
        case DOWNLOAD_LOADING_MINIDRIVER:
            return "Loading the minidriver";
        case DOWNLOAD_ERASING_CHIP:
            return "Erasing the chip";
        case DOWNLOAD_READY_TO_DOWNLOAD:
        case DOWNLOAD_LOADING_CODE:
        case DOWNLOAD_LOADING_DATA:
            return "Writing";
        case DOWNLOAD_READY_TO_VERIFY:
        case DOWNLOAD_VERIFYING_CODE:
        case DOWNLOAD_VERIFYING_DATA:
            return "Reading back";
        default:
            return nullptr;
    }
}

void CountBytes(const CDownloadRecord& record, DownloadStates state, CPhaseProgress& progress) {
    unsigned int codeTotal = 0;
    unsigned int dataTotal = 0;
    unsigned int code = 0;
    unsigned int data = 0;
    record.GetDownloadAmount(&codeTotal, &dataTotal, &code, &data, nullptr, nullptr);
    if (state < DOWNLOAD_READY_TO_DOWNLOAD) {
        return;  // the bytes of a minidriver are not counted
    }
    if (state >= DOWNLOAD_READY_TO_VERIFY) {
        record.GetVerifiedAmount(&code, &data, nullptr, nullptr);
    }
    progress.m_nDone = code + data;
    progress.m_nTotal = codeTotal + dataTotal;
}

std::string TimeText(double seconds) {
    const auto whole = static_cast<unsigned int>(std::lround(std::min(seconds, 359999.0)));
    return whole < 3600 ? FormatText("%u:%02u", whole / 60, whole % 60)
                        : FormatText("%u:%02u:%02u", whole / 3600, whole / 60 % 60, whole % 60);
}

}  // namespace

std::string MakeStatusText(const CPhaseProgress& progress, unsigned int columns) {
    std::string figures;
    const double part =
        progress.m_nTotal == 0 ? 0 : std::min(1.0, 1.0 * progress.m_nDone / progress.m_nTotal);
    if (progress.m_nTotal > 0) {
        figures += FormatText("  %3.0f%%", std::floor(100 * part));
    }
    if (progress.m_BytesPerSecond > 0) {
        figures += FormatText("  %.1f kB/s", progress.m_BytesPerSecond / 1000);
    }
    figures += "  " + TimeText(progress.m_Seconds) + " gone";
    if (progress.m_nTotal > 0 && progress.m_BytesPerSecond > 0) {
        const double left = (1 - part) * progress.m_nTotal / progress.m_BytesPerSecond;
        figures += ", " + TimeText(left) + " left";
    }
    std::string text = progress.m_szPhase;
    const std::size_t others = text.size() + MOST_FIGURES;
    if (progress.m_nTotal > 0 && columns >= others + SHORTEST_BAR) {
        const std::size_t length = std::min(columns - others, LONGEST_BAR);
        const auto done = static_cast<std::size_t>(part * static_cast<double>(length));
        text += "  [" + std::string(done, '#') + std::string(length - done, '.') + "]";
    }
    return (text + figures).substr(0, columns);
}

void CStatusLine::Draw(const CDownloadRecord& record, DownloadStates state) {
    const char* const phase = PhaseOf(state);
    if (!m_bIsShown || phase == nullptr) {
        return;
    }
    CPhaseProgress progress{phase};
    CountBytes(record, state, progress);
    const Clock::time_point now = Clock::now();
    if (m_szPhase != phase) {
        m_szPhase = phase;
        m_PhaseStart = now;
        m_nDoneAtStart = progress.m_nDone;
    }
    progress.m_Seconds = std::chrono::duration<double>(now - m_PhaseStart).count();
    if (now > m_PhaseStart) {
        progress.m_BytesPerSecond = (progress.m_nDone - m_nDoneAtStart) / progress.m_Seconds;
    }
    // Not the last column: there, some terminals go on to the next line.
    m_Terminal.DrawStatusLine(MakeStatusText(progress, m_Terminal.Width() - 1));
}
