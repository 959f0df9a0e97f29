#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <vector>

#include "support/TempDir.h"

// How a program ended and what it printed.
struct PROCESS_RESULT {
    int status;  // the exit status, or minus the signal
    std::string out;
    std::string err;
    double seconds;
};

// Runs a program in a folder, where it prints into out.txt and err.txt. SIGALRM ends one that runs
// longer than so many seconds. Any thread may run one.
inline PROCESS_RESULT RunProcess(const CTempDir& folder, std::vector<std::string> words,
                                 unsigned int secondsAtMost) {
    const auto start = std::chrono::steady_clock::now();
    const std::string out = folder.Write("out.txt", "");
    const std::string err = folder.Write("err.txt", "");
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
            ::signal(signal, SIG_DFL);  // whoever runs the tests may have them ignored
        }
        // Other threads of the test may hold locks: nothing but system calls from here on.
        const int flags = O_WRONLY | O_APPEND | O_CLOEXEC;
        if (::dup2(::open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO) >= 0 &&
            ::dup2(::open(out.c_str(), flags), STDOUT_FILENO) >= 0 &&
            ::dup2(::open(err.c_str(), flags), STDERR_FILENO) >= 0 &&
            ::chdir(folder.Path().c_str()) == 0) {
            ::alarm(secondsAtMost);
            ::execvp(argv[0], argv.data());
        }
        ::_exit(99);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), folder.Read("out.txt"),
            folder.Read("err.txt"), time.count()};
}
