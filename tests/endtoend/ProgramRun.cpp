#include "endtoend/ProgramRun.h"

#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>

#include "chipsim/TerminalCommand.h"
#include "os/FileDescriptor.h"

namespace {

constexpr double LONGEST_RUN_SECONDS = 60;

struct CPipe {
    CPipe() {
        int ends[2];
        EXPECT_EQ(::pipe(ends), 0);
        m_ReadEnd = CFileDescriptor(ends[0]);
        m_WriteEnd = CFileDescriptor(ends[1]);
    }

    CFileDescriptor m_ReadEnd;
    CFileDescriptor m_WriteEnd;
};

// Follows what a program prints, from its start to its end.
class COutputReader {
public:
    COutputReader(CTerminalCommand& command, CPipe& out, CPipe& err, std::size_t stopAfter)
        : m_Command(command), m_Out(out), m_Err(err), m_nStopAfter(stopAfter) {
        // From now on the program alone holds them, and their end is its end.
        out.m_WriteEnd.Close();
        err.m_WriteEnd.Close();
    }

    void ReadAll(CProgramResult* result) {
        while (m_Out.m_ReadEnd.IsOpen() || m_Err.m_ReadEnd.IsOpen()) {
            pollfd ends[] = {{m_Out.m_ReadEnd.Get(), POLLIN, 0},
                             {m_Err.m_ReadEnd.Get(), POLLIN, 0}};
            ::poll(ends, 2, 1000);
            if (ends[0].revents != 0) {
                TakeOutput(Read(&m_Out.m_ReadEnd), result);
            }
            if (ends[1].revents != 0) {
                result->m_strErrors += Read(&m_Err.m_ReadEnd);
            }
            if (Now() > LONGEST_RUN_SECONDS) {
                ADD_FAILURE() << "the program does not end";
                m_Command.Signal(SIGKILL);
            }
        }
    }

private:
    double Now() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_Start).count();
    }

    static std::string Read(CFileDescriptor* end) {
        std::array<char, 4096> bytes;
        const ssize_t count = ::read(end->Get(), bytes.data(), bytes.size());
        if (count <= 0) {
            end->Close();
            return {};
        }
        return {bytes.data(), static_cast<std::size_t>(count)};
    }

    void TakeOutput(const std::string& text, CProgramResult* result) {
        m_strBegun += text;
        for (std::size_t end = m_strBegun.find('\n'); end != std::string::npos;
             end = m_strBegun.find('\n')) {
            result->m_Lines.push_back({Now(), m_strBegun.substr(0, end)});
            m_strBegun.erase(0, end + 1);
            if (result->m_Lines.size() == m_nStopAfter) {
                m_Command.Signal(SIGTERM);
            }
        }
    }

    CTerminalCommand& m_Command;
    CPipe& m_Out;
    CPipe& m_Err;
    std::size_t m_nStopAfter;
    std::chrono::steady_clock::time_point m_Start = std::chrono::steady_clock::now();
    std::string m_strBegun;  // of a line that has no end yet
};

}  // namespace

std::vector<std::string> CProgramResult::Texts() const {
    std::vector<std::string> texts;
    std::transform(m_Lines.begin(), m_Lines.end(), std::back_inserter(texts),
                   [](const CPrintedLine& line) { return line.m_strText; });
    return texts;
}

CProgramResult CProgramRun::Run(std::vector<std::string> words) {
    CPipe out;
    CPipe err;
    const int errors = (m_bMergeErrors ? out : err).m_WriteEnd.Get();
    // The command gets our own standard streams, so a shell puts the pipes in their places.
    const std::string script = "cd \"$0\" && exec \"$@\" </dev/null >/proc/self/fd/" +
                               std::to_string(out.m_WriteEnd.Get()) + " 2>/proc/self/fd/" +
                               std::to_string(errors);
    const std::vector<std::string> start = {"/bin/sh", "-c", script, m_Folder.Path(),
                                            HCILOAD_PROGRAM};
    words.insert(words.begin(), start.begin(), start.end());
    sigset_t noSignals;
    sigemptyset(&noSignals);
    CTerminalCommand command(noSignals);
    CProgramResult result;
    EXPECT_EQ(command.Start(m_Chip.PortPath(), words), "");
    COutputReader(command, out, err, m_nStopAfter).ReadAll(&result);
    result.m_nStatus = command.Wait();
    return result;
}
