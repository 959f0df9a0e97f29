#include "os/OSTime.h"

#ifdef __linux__
#include <sys/prctl.h>
#endif

#include "os/CancellationWindow.h"
#include "os/Clock.h"

unsigned int GetCurrentOSTimeMS() {
    return static_cast<unsigned int>(CClock::InUse().Now().tv_usec / 1000);
}

void GetCurrentOSTime(dth* time) {
    const timeval now = CClock::InUse().Now();
    tm local{};
    localtime_r(&now.tv_sec, &local);
    *time = dth{};
    time->hour = static_cast<std::uint8_t>(local.tm_hour);
    time->minute = static_cast<std::uint8_t>(local.tm_min);
    time->second = static_cast<std::uint8_t>(local.tm_sec);
    time->milliseconds = static_cast<std::uint16_t>(now.tv_usec / 1000);
}

void PutThreadToSleep(unsigned int ms) {
    timespec length{};
    length.tv_sec = static_cast<time_t>(ms / 1000);
    length.tv_nsec = static_cast<long>(ms % 1000) * 1000000;
    __nsleep(&length, nullptr);
}

void SharpenSleepsOfThisThread() {
#ifdef PR_SET_TIMERSLACK
    prctl(PR_SET_TIMERSLACK, 1000UL, 0UL, 0UL, 0UL);  // nanoseconds
#endif
}

int __nsleep(const timespec* req, timespec* rem) {  // NOLINT(bugprone-reserved-identifier)
    const CCancellationWindow window;
    timespec left = *req;
    timespec next{};
    while (!CClock::InUse().Sleep(left, next)) {
        left = next;
        if (rem != nullptr) {
            *rem = left;
        }
    }
    return 1;
}
