#pragma once

#include <signal.h>
#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

// A command whose controlling terminal is a given one, so that it reaches it as /dev/tty. Its
// standard streams are the caller's. A small process in between leads the session: a terminal that
// hangs up ends the leader, while the command sees the loss as it would see a real port's, by its
// reads.
//
// One thread at a time. The command is not ended by the destructor.
class CTerminalCommand {
public:
    // The signal mask that the command starts with.
    explicit CTerminalCommand(const sigset_t& mask) : m_Mask(mask) {}

    // argv[0] is looked up in PATH. Returns once the command runs. The error text, empty on
    // success; a command that cannot be run says so on standard error and ends with 127 (not found)
    // or 126, as in a shell.
    std::string Start(const std::string& terminalPath, const std::vector<std::string>& argv);

    // Its exit status, 128 + the signal when one killed it; none while it runs. Poll does not
    // wait. After the end both repeat the same answer.
    std::optional<int> Poll();
    int Wait();

    // Passes a signal on to the command and what it has started.
    void Signal(int number) const;

private:
    std::optional<int> Collect(int options);

    const sigset_t m_Mask;
    pid_t m_nLeader = -1;
    std::optional<int> m_Status;
};
