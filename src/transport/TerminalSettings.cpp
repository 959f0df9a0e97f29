#include "transport/TerminalSettings.h"

#include <algorithm>
#include <iterator>

namespace {

bool SameSettings(const termios& left, const termios& right) {
    return left.c_iflag == right.c_iflag && left.c_oflag == right.c_oflag &&
           left.c_cflag == right.c_cflag && left.c_lflag == right.c_lflag &&
           std::equal(std::begin(left.c_cc), std::end(left.c_cc), std::begin(right.c_cc)) &&
           cfgetispeed(&left) == cfgetispeed(&right) && cfgetospeed(&left) == cfgetospeed(&right);
}

}  // namespace

// The speed is fixed on purpose, whatever the connection's parameters wish for: the chips start at
// it, and nothing here ever tells them to change it. Starting from zero also leaves both hardware
// flow-control bits clear.
termios MakeLineSettings() {
    termios settings{};
    settings.c_cflag = CS8 | CREAD | HUPCL | CLOCAL;
    settings.c_cc[VMIN] = 0;
    settings.c_cc[VTIME] = 0;
    cfsetispeed(&settings, B115200);
    cfsetospeed(&settings, B115200);
    return settings;
}

void ApplyTerminalSettings(int descriptor, const termios& settings) {
    for (int tries = 0; tries < 2; ++tries) {
        termios applied{};
        if (tcsetattr(descriptor, TCSANOW, &settings) == 0 &&
            tcgetattr(descriptor, &applied) == 0 && SameSettings(applied, settings)) {
            return;
        }
    }
}
