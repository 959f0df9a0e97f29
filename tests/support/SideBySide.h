#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

// Calls the function for each item, several at a time: more than there are cores, because the
// programs that the items run sleep most of the time. They start one after another, since many that
// start at once keep the cores busy for longer than a reply may take.
template <class ITEM, class FUNCTION>
void RunSideBySide(const std::vector<ITEM>& items, const FUNCTION& function) {
    constexpr std::chrono::milliseconds PACE(80);
    std::mutex startMutex;
    std::atomic<std::size_t> next = 0;
    std::vector<std::jthread> workers(std::size_t{16} *
                                      std::max(std::thread::hardware_concurrency(), 1U));
    for (std::jthread& worker : workers) {
        worker = std::jthread([&] {
            for (std::size_t i = next++; i < items.size(); i = next++) {
                {
                    const std::lock_guard lock(startMutex);
                    std::this_thread::sleep_for(PACE);
                }
                function(items[i]);
            }
        });
    }
}
