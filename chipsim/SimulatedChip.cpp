#include "chipsim/SimulatedChip.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <utility>

namespace {

// A packet whose rest has not come for this long is dropped. Longer than any pause within one write
// of the host, shorter than its shortest wait for a reply and the next attempt.
constexpr LineTime QUIET_LINE = 250 * NS_PER_MS;

constexpr std::size_t LARGEST_READ = 512;

timespec ToTimespec(LineTime span) {
    timespec result{};
    result.tv_sec = static_cast<time_t>(span / NS_PER_SECOND);
    result.tv_nsec = static_cast<long>(span % NS_PER_SECOND);
    return result;
}

void TakeEarlier(std::optional<LineTime>& due, std::optional<LineTime> other) {
    if (other && (!due || *other < *due)) {
        due = other;
    }
}

}  // namespace

CSimulatedChip::CSimulatedChip(const CHIP_SETTINGS& settings, CHIP_OBSERVER observer,
                               CLineObserver* line)
    : m_pLine(line),
      m_Input(settings.baud),
      m_Output(settings.baud),
      m_Engine(settings, std::move(observer), line) {}

CSimulatedChip::~CSimulatedChip() {
    Stop();
}

std::string CSimulatedChip::Start(const std::string& linkPath) {
    std::string error = m_Terminal.Open();
    if (error.empty() && !linkPath.empty()) {
        error = m_Link.Create(m_Terminal.SlavePath(), linkPath);
    }
    if (!error.empty()) {
        return error;
    }
    m_Wake = CFileDescriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!m_Wake.IsOpen()) {
        return "cannot make an event descriptor";
    }
    m_Thread = std::thread([this] { Run(); });
    return {};
}

void CSimulatedChip::Stop() {
    if (m_Thread.joinable()) {
        m_bStop = true;
        WakeUp();
        m_Thread.join();
        m_Engine.LineWentQuiet();  // tells the line of a packet that is not whole
    }
    m_Link.Remove();
    m_Terminal.Close();
}

std::string CSimulatedChip::PortPath() const {
    return m_Link.Path().empty() ? m_Terminal.SlavePath() : m_Link.Path();
}

void CSimulatedChip::Run() {
    while (!m_bStop && !m_bHungUp) {
        TakeInput(LineTimeNow());
        DropCutPacket(LineTimeNow());
        WriteOutput(LineTimeNow());
        if (m_Output.HangUpIsDue(LineTimeNow())) {
            HangUp();
        } else {
            WaitForWork();
        }
    }
}

void CSimulatedChip::HangUp() {
    m_Link.Remove();
    m_Terminal.Close();
    m_bHungUp = true;
}

void CSimulatedChip::TakeInput(LineTime now) {
    if (m_Input.WantsBytes(now)) {
        std::array<unsigned char, LARGEST_READ> bytes;
        const std::size_t count = m_Terminal.Read(bytes);
        if (count > 0) {
            m_Input.Accept(std::span(bytes).first(count), now);
        }
    }
    const std::vector<unsigned char> arrived = m_Input.TakeArrived(now);
    if (arrived.empty()) {
        return;
    }
    m_nLastInput = now;
    for (CHIP_REPLY& reply : m_Engine.Receive(arrived)) {
        m_Input.PauseUntil(now + static_cast<LineTime>(reply.readPauseMs) * NS_PER_MS);
        m_Output.Queue(std::move(reply), now);
    }
}

void CSimulatedChip::DropCutPacket(LineTime now) {
    if (m_Engine.IsMidPacket() && m_Input.WantsBytes(now) && now - m_nLastInput >= QUIET_LINE) {
        m_Engine.LineWentQuiet();
    }
}

void CSimulatedChip::WriteOutput(LineTime now) {
    m_bTerminalFull = false;
    for (;;) {
        const std::span<const unsigned char> due = m_Output.Due(now);
        if (due.empty()) {
            return;
        }
        const std::size_t count = m_Terminal.Write(due);
        if (count > 0) {
            if (m_pLine != nullptr) {
                m_pLine->SentByChip(due.first(count));
            }
            m_Output.Sent(count, now);
        }
        if (count < due.size()) {
            m_bTerminalFull = true;
            return;
        }
    }
}

std::optional<LineTime> CSimulatedChip::NextDue(LineTime now) const {
    std::optional<LineTime> due = m_Input.NextDue(now);
    if (!m_bTerminalFull) {
        TakeEarlier(due, m_Output.NextDue());
    }
    if (m_Engine.IsMidPacket() && m_Input.WantsBytes(now)) {
        TakeEarlier(due, m_nLastInput + QUIET_LINE);
    }
    return due;
}

void CSimulatedChip::WaitForWork() {
    const LineTime now = LineTimeNow();
    short events = 0;
    if (m_Input.WantsBytes(now)) {
        events = static_cast<short>(events | POLLIN);
    }
    if (m_bTerminalFull) {
        events = static_cast<short>(events | POLLOUT);
    }
    pollfd fds[] = {{events == 0 ? -1 : m_Terminal.MasterFd(), events, 0},
                    {m_Wake.Get(), POLLIN, 0}};
    const std::optional<LineTime> due = NextDue(now);
    const timespec wait = ToTimespec(std::max<LineTime>(due.value_or(now) - now, 0));
    ::ppoll(fds, std::size(fds), due ? &wait : nullptr, nullptr);
}

void CSimulatedChip::WakeUp() {
    const std::uint64_t one = 1;
    if (::write(m_Wake.Get(), &one, sizeof one) < 0) {
        return;  // the counter is full, so the thread wakes all the same
    }
}
