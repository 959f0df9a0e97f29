#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <vector>

#include "support/TempDir.h"

// How a program ended and what it said.
struct PROCESS_RESULT {
    int status = -1;  // the exit status, or minus the signal
    std::string out;
    std::string err;
    double seconds = 0;
};

// Runs a program in the folder, with its output in files there, and waits for its end. Any thread.
inline PROCESS_RESULT RunProcess(const CTempDir& folder, std::vector<std::string> words) {
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    const std::string out = folder.PathOf("out.txt");
    const std::string err = folder.PathOf("err.txt");
    const auto started = std::chrono::steady_clock::now();
    const pid_t pid = ::fork();
    if (pid == 0) {
        // Other threads of the test may hold locks: nothing but system calls until the program
        // runs.
        const int flags = O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC;
        const bool ready = ::dup2(::open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO) >= 0 &&
                           ::dup2(::open(out.c_str(), flags, 0600), STDOUT_FILENO) >= 0 &&
                           ::dup2(::open(err.c_str(), flags, 0600), STDERR_FILENO) >= 0 &&
                           ::chdir(folder.Path().c_str()) == 0;
        if (ready) {
            ::execv(argv[0], argv.data());
        }
        ::_exit(99);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - started;
    PROCESS_RESULT result;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    result.out = folder.Read("out.txt");
    result.err = folder.Read("err.txt");
    result.seconds = seconds.count();
    return result;
}
