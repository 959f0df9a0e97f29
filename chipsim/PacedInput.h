#pragma once

#include <optional>
#include <span>
#include <vector>

#include "chipsim/LineTime.h"

// The receiving half of the line. Bytes that the terminal already holds reach the chip only once a
// real line would have carried them; until then no more are taken from the terminal.
//
// Not synchronised: one thread at a time.
class CPacedInput {
public:
    explicit CPacedInput(unsigned int baud) : m_nByteTime(ByteTime(baud)) {}

    // Whether bytes may be taken from the terminal now.
    bool WantsBytes(LineTime now) const { return m_Held.empty() && now >= m_nPausedUntil; }

    // Only when WantsBytes.
    void Accept(std::span<const unsigned char> bytes, LineTime now);

    // The bytes that have reached the chip; empty while they are still on the line.
    std::vector<unsigned char> TakeArrived(LineTime now);

    // Takes nothing from the terminal until then.
    void PauseUntil(LineTime then);

    // When to look again; none while it only waits for bytes.
    std::optional<LineTime> NextDue(LineTime now) const;

private:
    const LineTime m_nByteTime;
    std::vector<unsigned char> m_Held;
    LineTime m_nArrival = 0;
    LineTime m_nPausedUntil = 0;
};
