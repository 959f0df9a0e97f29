#pragma once

#include <atomic>
#include <chrono>
#include <fstream>
#include <string>
#include <thread>

// Polls until the condition holds, in real time; false after ten seconds.
template <class CONDITION>
bool ComesTrue(CONDITION condition) {
    for (int ms = 0; ms < 10000; ++ms) {
        if (condition()) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

// Waits until a thread of this process, which has stored its id, has been blocked for ten
// milliseconds: a shorter pause may be one of a tool that the process runs under.
inline bool FallsAsleep(const std::atomic<int>& thread) {
    return ComesTrue([&thread, pauses = 0]() mutable {
        std::ifstream stat("/proc/self/task/" + std::to_string(thread) + "/stat");
        std::string id;
        std::string name;
        std::string state;
        stat >> id >> name >> state;
        pauses = state == "S" ? pauses + 1 : 0;
        return pauses == 10;
    });
}
