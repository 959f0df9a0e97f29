#include <ctime>

// The program's own nanosleep takes the place of the C library's, so that an exchange with all its
// polls takes microseconds. Whoever polls sees all its polls and no time that passes.
extern "C" int nanosleep(const timespec* /*request*/, timespec* /*remaining*/) {
    return 0;
}
