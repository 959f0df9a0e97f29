#include "transport/TerminalRestore.h"

#include <poll.h>
#include <pthread.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <iterator>

#include "os/Terminal.h"

namespace {

constexpr std::array<int, 4> ENDING_SIGNALS{SIGINT, SIGTERM, SIGHUP, SIGQUIT};

std::atomic_flag g_bListLocked = ATOMIC_FLAG_INIT;

// Async-signal-safe.
void LockList() {
    while (g_bListLocked.test_and_set()) {
        poll(nullptr, 0, 1);
    }
}

// Locks the list with the ending signals blocked: a handler that waits for the lock can therefore
// not have interrupted the thread that holds it.
class CListLock {
public:
    CListLock() {
        sigset_t ending;
        sigemptyset(&ending);
        for (const int signal : ENDING_SIGNALS) {
            sigaddset(&ending, signal);
        }
        pthread_sigmask(SIG_BLOCK, &ending, &m_Previous);
        LockList();
    }
    ~CListLock() {
        g_bListLocked.clear();
        pthread_sigmask(SIG_SETMASK, &m_Previous, nullptr);
    }
    CListLock(const CListLock&) = delete;
    CListLock& operator=(const CListLock&) = delete;

private:
    sigset_t m_Previous{};
};

bool SameSettings(const termios& left, const termios& right) {
    return left.c_iflag == right.c_iflag && left.c_oflag == right.c_oflag &&
           left.c_cflag == right.c_cflag && left.c_lflag == right.c_lflag &&
           std::equal(std::begin(left.c_cc), std::end(left.c_cc), std::begin(right.c_cc)) &&
           cfgetispeed(&left) == cfgetispeed(&right) && cfgetospeed(&left) == cfgetospeed(&right);
}

// tcsetattr already succeeds when it could apply a part of the settings, so they are read back and
// applied once more if they differ.
void Apply(int descriptor, const termios& settings) {
    for (int tries = 0; tries < 2; ++tries) {
        termios applied{};
        if (tcsetattr(descriptor, TCSANOW, &settings) == 0 &&
            tcgetattr(descriptor, &applied) == 0 && SameSettings(applied, settings)) {
            return;
        }
    }
}

}  // namespace

CTerminalRestore* CTerminalRestore::m_pFirst = nullptr;

void InstallTerminalRestoreOnSignals() {
    for (const int signal : ENDING_SIGNALS) {
        struct sigaction action {};
        if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) {
            continue;  // nohup, for one, wants it ignored
        }
        action = {};
        action.sa_handler = CTerminalRestore::EndBySignal;
        // Blocks SIGTTOU too: a background process may then still change its terminal.
        sigfillset(&action.sa_mask);
        sigaction(signal, &action, nullptr);
    }
}

// Async-signal-safe calls only. The list stays locked, so no other thread changes a terminal again.
void CTerminalRestore::EndBySignal(int signal) {
    LockList();
    for (const CTerminalRestore* entered = m_pFirst; entered != nullptr;
         entered = entered->m_pNext) {
        entered->Restore();
    }
    // After the ports, since the user's terminal may be held up by Ctrl-S.
    CTerminal::EraseStatusLine();
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    sigaction(signal, &action, nullptr);
    raise(signal);
    // The process ends here, before another signal's handler can wait for the list.
    sigset_t raised;
    sigemptyset(&raised);
    sigaddset(&raised, signal);
    pthread_sigmask(SIG_UNBLOCK, &raised, nullptr);
}

void CTerminalRestore::EnterAndApply(int descriptor, const termios& settings) {
    if (tcgetattr(descriptor, &m_Saved) != 0) {
        return;
    }
    const CListLock lock;
    Apply(descriptor, settings);
    m_nDescriptor = descriptor;
    m_pNext = m_pFirst;
    m_pFirst = this;
}

void CTerminalRestore::Leave() {
    if (m_nDescriptor < 0) {
        return;
    }
    const CListLock lock;
    Restore();
    m_nDescriptor = -1;
    CTerminalRestore** link = &m_pFirst;
    while (*link != this) {
        link = &(*link)->m_pNext;
    }
    *link = m_pNext;
}

void CTerminalRestore::Restore() const {
    tcsetattr(m_nDescriptor, TCSANOW, &m_Saved);
}
