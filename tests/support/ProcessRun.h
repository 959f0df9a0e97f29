#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "support/TempDir.h"

// How a program ended and what it printed.
struct PROCESS_RESULT {
    int status = -1;  // the exit status, or minus the signal
    std::string out;
    std::string err;
    double seconds = 0;
};

// A program that runs in a folder and prints into out.txt and err.txt there. One that hangs is
// ended by SIGALRM. Any thread may have one.
class CProcess {
public:
    CProcess(const CTempDir& folder, std::vector<std::string> words) : m_Folder(folder) {
        std::vector<char*> argv;
        for (std::string& word : words) {
            argv.push_back(word.data());
        }
        argv.push_back(nullptr);
        const std::string out = folder.Write("out.txt", "");
        const std::string err = folder.Write("err.txt", "");
        m_nPid = ::fork();
        if (m_nPid == 0) {
            // Other threads of the test may hold locks: nothing but system calls from here on.
            const int flags = O_WRONLY | O_APPEND | O_CLOEXEC;
            const bool ready =
                ::dup2(::open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO) >= 0 &&
                ::dup2(::open(out.c_str(), flags), STDOUT_FILENO) >= 0 &&
                ::dup2(::open(err.c_str(), flags), STDERR_FILENO) >= 0 &&
                ::chdir(folder.Path().c_str()) == 0;
            if (ready) {
                ::alarm(90);
                ::execvp(argv[0], argv.data());
            }
            ::_exit(99);
        }
    }
    CProcess(const CProcess&) = delete;
    CProcess& operator=(const CProcess&) = delete;
    ~CProcess() { Wait(); }

    void Signal(int number) const { ::kill(m_nPid, number); }

    // Waits until one of its files has so many lines; false when that takes too long.
    bool WaitForLines(const std::string& file, std::ptrdiff_t count) const {
        for (int tries = 0; tries < 3000; ++tries) {
            const std::string text = m_Folder.Read(file);
            if (std::count(text.begin(), text.end(), '\n') >= count) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }

    PROCESS_RESULT Wait() {
        int status = 0;
        if (m_nPid > 0 && ::waitpid(m_nPid, &status, 0) == m_nPid) {
            m_nPid = 0;
            const std::chrono::duration<double> time = std::chrono::steady_clock::now() - m_Start;
            m_Result = {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status),
                        m_Folder.Read("out.txt"), m_Folder.Read("err.txt"), time.count()};
        }
        return m_Result;
    }

private:
    const CTempDir& m_Folder;
    const std::chrono::steady_clock::time_point m_Start = std::chrono::steady_clock::now();
    pid_t m_nPid = 0;
    PROCESS_RESULT m_Result;
};

inline PROCESS_RESULT RunProcess(const CTempDir& folder, std::vector<std::string> words) {
    return CProcess(folder, std::move(words)).Wait();
}
