#include "transport/TerminalRestore.h"

#include <poll.h>
#include <pthread.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

#include "transport/TerminalSettings.h"

namespace {

constexpr std::array<int, 4> ENDING_SIGNALS{SIGINT, SIGTERM, SIGHUP, SIGQUIT};

enum SlotStates : int {
    SLOT_FREE,
    SLOT_CHANGING,  // being filled, and the terminal changed, by a thread whose signals are blocked
    SLOT_USED,
    SLOT_LEAVING,  // waits for the handlers that found it used
};

// A table of fixed size without a lock, since a signal handler reads it.
struct RESTORE_SLOT {
    std::atomic<int> state{SLOT_FREE};
    std::atomic<int> handlersInside{0};
    int descriptor = -1;
    termios saved{};
};
static_assert(std::atomic<int>::is_always_lock_free);

std::array<RESTORE_SLOT, 64> g_Slots;
std::atomic<int> g_bEnding{0};

void PauseBriefly() {
    poll(nullptr, 0, 1);
}

class CBlockedSignals {
public:
    CBlockedSignals() {
        sigset_t ending;
        sigemptyset(&ending);
        for (const int signal : ENDING_SIGNALS) {
            sigaddset(&ending, signal);
        }
        pthread_sigmask(SIG_BLOCK, &ending, &m_Previous);
    }
    ~CBlockedSignals() { pthread_sigmask(SIG_SETMASK, &m_Previous, nullptr); }
    CBlockedSignals(const CBlockedSignals&) = delete;
    CBlockedSignals& operator=(const CBlockedSignals&) = delete;

private:
    sigset_t m_Previous{};
};

// The count tells Leave that the descriptor is still in use here. Waiting for a slot that is being
// changed is safe: the thread that changes it cannot be the one this handler has interrupted.
void RestoreSlot(RESTORE_SLOT& slot) {
    ++slot.handlersInside;
    while (slot.state == SLOT_CHANGING) {
        PauseBriefly();
    }
    if (slot.state == SLOT_USED) {
        tcsetattr(slot.descriptor, TCSANOW, &slot.saved);
    }
    --slot.handlersInside;
}

// Async-signal-safe calls only. The signal is blocked here, so what raise sends ends the process
// when the handler returns.
void EndBySignal(int signal) {
    const int savedErrno = errno;
    g_bEnding = 1;
    for (RESTORE_SLOT& slot : g_Slots) {
        RestoreSlot(slot);
    }
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    sigaction(signal, &action, nullptr);
    raise(signal);
    errno = savedErrno;
}

int ClaimSlot() {
    for (std::size_t i = 0; i < g_Slots.size(); ++i) {
        int expected = SLOT_FREE;
        if (g_Slots[i].state.compare_exchange_strong(expected, SLOT_CHANGING)) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

}  // namespace

void InstallTerminalRestoreOnSignals() {
    for (const int signal : ENDING_SIGNALS) {
        struct sigaction action {};
        if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) {
            continue;  // nohup and the like want it ignored
        }
        action = {};
        action.sa_handler = EndBySignal;
        // SIGTTOU among them: a process in the background may then still change its terminal.
        sigfillset(&action.sa_mask);
        sigaction(signal, &action, nullptr);
    }
}

void CTerminalRestore::EnterAndApply(int descriptor, const termios& saved,
                                     const termios& settings) {
    const CBlockedSignals blocked;
    m_nSlot = ClaimSlot();
    // Looked at after the claim: a handler that starts later finds the slot and waits for it.
    const bool ending = g_bEnding != 0;
    if (!ending) {
        ApplyTerminalSettings(descriptor, settings);
    }
    if (m_nSlot < 0) {
        return;
    }
    RESTORE_SLOT& slot = g_Slots[static_cast<std::size_t>(m_nSlot)];
    slot.descriptor = descriptor;
    slot.saved = saved;
    slot.state = SLOT_USED;
}

void CTerminalRestore::Leave() {
    if (m_nSlot < 0) {
        return;
    }
    RESTORE_SLOT& slot = g_Slots[static_cast<std::size_t>(m_nSlot)];
    slot.state = SLOT_LEAVING;
    while (slot.handlersInside != 0) {
        PauseBriefly();
    }
    slot.state = SLOT_FREE;
    m_nSlot = -1;
}
