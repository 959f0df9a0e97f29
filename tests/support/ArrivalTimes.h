#pragma once

#include <chrono>
#include <deque>
#include <string>
#include <utility>

#include "support/FakeChip.h"
#include "support/FakeClock.h"

// A time at which bytes arrive, and the bytes, hexadecimal.
using Arrivals = std::deque<std::pair<unsigned int, std::string>>;

// A fake clock, on which bytes arrive unasked so many milliseconds after it was made.
class CArrivalTimes {
public:
    CArrivalTimes(CFakeChip& chip, Arrivals arrivals)
        : m_Clock([&chip, arrivals](CFakeClock::Duration elapsed) mutable {
              while (!arrivals.empty() &&
                     elapsed >= std::chrono::milliseconds(arrivals.front().first)) {
                  chip.Receive(FromHex(arrivals.front().second));
                  arrivals.pop_front();
              }
          }) {}

    long ElapsedMS() const {
        return std::chrono::duration_cast<std::chrono::milliseconds>(m_Clock.GetElapsed()).count();
    }

private:
    CFakeClock m_Clock;
};
