#include "chipsim/PacedOutput.h"

#include <algorithm>
#include <utility>

namespace {

// Bytes are handed over a millisecond's worth at a time: a reader sees a long reply grow, and the
// sender does not wake for each byte.
constexpr LineTime STEP_TIME = NS_PER_MS;

// A terminal that hangs up loses its unread bytes, so the reader gets a moment.
constexpr LineTime TIME_TO_READ = 50 * NS_PER_MS;

LineTime DelayOf(const CHIP_REPLY_PIECE& piece) {
    return static_cast<LineTime>(piece.delayMs) * NS_PER_MS;
}

// Without a pause between them, pieces go to the terminal in one write: a reader that looks between
// two writes would see a pause that is not on the line.
void JoinPieces(std::vector<CHIP_REPLY_PIECE>& pieces) {
    std::vector<CHIP_REPLY_PIECE> joined;
    for (CHIP_REPLY_PIECE& piece : pieces) {
        if (joined.empty() || piece.delayMs != 0) {
            joined.push_back(std::move(piece));
        } else {
            std::vector<unsigned char>& bytes = joined.back().bytes;
            bytes.insert(bytes.end(), piece.bytes.begin(), piece.bytes.end());
        }
    }
    pieces = std::move(joined);
}

}  // namespace

void CPacedOutput::Queue(CHIP_REPLY reply, LineTime now) {
    JoinPieces(reply.pieces);
    PENDING pending{std::move(reply)};
    pending.start = now;
    if (!pending.reply.pieces.empty()) {
        pending.start += DelayOf(pending.reply.pieces.front());
    }
    SkipEmptyPieces(pending);
    if (IsAllSent(pending) && !pending.reply.hangsUp) {
        return;
    }
    const auto place = std::find_if(m_Pending.begin(), m_Pending.end(), [&](const PENDING& other) {
        return !other.begun && other.start > pending.start;
    });
    m_Pending.insert(place, std::move(pending));
}

// Their pauses still count.
void CPacedOutput::SkipEmptyPieces(PENDING& pending) {
    const std::vector<CHIP_REPLY_PIECE>& pieces = pending.reply.pieces;
    while (pending.piece < pieces.size() && pieces[pending.piece].bytes.empty()) {
        ++pending.piece;
        if (pending.piece < pieces.size()) {
            pending.start += DelayOf(pieces[pending.piece]);
        }
    }
}

bool CPacedOutput::IsAllSent(const PENDING& pending) {
    return pending.piece == pending.reply.pieces.size();
}

bool CPacedOutput::HangUpIsDue(LineTime now) const {
    return !m_Pending.empty() && IsAllSent(m_Pending.front()) && now >= m_Pending.front().start;
}

std::size_t CPacedOutput::StepFor(const PENDING& pending) const {
    const std::size_t rest = pending.reply.pieces[pending.piece].bytes.size() - pending.sent;
    if (m_nByteTime == 0) {
        return rest;
    }
    const auto perStep = static_cast<std::size_t>(STEP_TIME / m_nByteTime);
    return std::min(rest, std::max<std::size_t>(perStep, 1));
}

std::span<const unsigned char> CPacedOutput::Due(LineTime now) {
    const std::optional<LineTime> due = NextDue();
    if (!due || now < *due || IsAllSent(m_Pending.front())) {
        return {};
    }
    PENDING& front = m_Pending.front();
    if (!front.begun) {
        front.begun = true;
        front.start = std::max(front.start, m_nLineFree);
    }
    const std::vector<unsigned char>& bytes = front.reply.pieces[front.piece].bytes;
    std::size_t count = bytes.size();
    if (m_nByteTime != 0) {
        count = std::min(count, static_cast<std::size_t>((now - front.start) / m_nByteTime));
    }
    return std::span(bytes).subspan(front.sent, std::max(count, front.sent) - front.sent);
}

void CPacedOutput::Sent(std::size_t count, LineTime now) {
    PENDING& front = m_Pending.front();
    const std::vector<CHIP_REPLY_PIECE>& pieces = front.reply.pieces;
    front.sent += count;
    if (front.sent < pieces[front.piece].bytes.size()) {
        return;
    }
    // From the ideal end, not from now, so that waking late does not add up; but a reader that let
    // bytes pile up has held the line.
    m_nLineFree = front.start + m_nByteTime * static_cast<LineTime>(front.sent);
    if (now - m_nLineFree > 2 * STEP_TIME) {
        m_nLineFree = now;
    }
    front.sent = 0;
    ++front.piece;
    if (front.piece < pieces.size()) {
        front.start = m_nLineFree + DelayOf(pieces[front.piece]);
    }
    SkipEmptyPieces(front);
    if (!IsAllSent(front)) {
        return;
    }
    if (front.reply.hangsUp) {
        front.start = m_nLineFree + TIME_TO_READ;
    } else {
        m_Pending.pop_front();
    }
}

std::optional<LineTime> CPacedOutput::NextDue() const {
    if (m_Pending.empty()) {
        return std::nullopt;
    }
    const PENDING& front = m_Pending.front();
    if (IsAllSent(front)) {
        return front.start;
    }
    const LineTime start = front.begun ? front.start : std::max(front.start, m_nLineFree);
    return start + m_nByteTime * static_cast<LineTime>(front.sent + StepFor(front));
}
