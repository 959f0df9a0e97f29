#include "chipsim/PacedInput.h"

#include <algorithm>
#include <utility>

void CPacedInput::Accept(std::span<const unsigned char> bytes, LineTime now) {
    m_Held.assign(bytes.begin(), bytes.end());
    m_nArrival = now + m_nByteTime * static_cast<LineTime>(bytes.size());
}

std::vector<unsigned char> CPacedInput::TakeArrived(LineTime now) {
    if (m_Held.empty() || now < m_nArrival) {
        return {};
    }
    return std::exchange(m_Held, {});
}

void CPacedInput::PauseUntil(LineTime then) {
    m_nPausedUntil = std::max(m_nPausedUntil, then);
}

std::optional<LineTime> CPacedInput::NextDue(LineTime now) const {
    if (!m_Held.empty()) {
        return m_nArrival;
    }
    if (now < m_nPausedUntil) {
        return m_nPausedUntil;
    }
    return std::nullopt;
}
