#pragma once

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

// Calls the function for each item, several at a time: more than there are cores, because the
// programs that the items run sleep most of the time.
template <class ITEM, class FUNCTION>
void RunSideBySide(const std::vector<ITEM>& items, const FUNCTION& function) {
    std::atomic<std::size_t> next = 0;
    std::vector<std::jthread> workers(12 * std::max(std::thread::hardware_concurrency(), 1U));
    for (std::jthread& worker : workers) {
        worker = std::jthread([&] {
            for (std::size_t i = next++; i < items.size(); i = next++) {
                function(items[i]);
            }
        });
    }
}
