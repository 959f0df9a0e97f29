#pragma once

#include <termios.h>

// How every serial line is run: raw, 115200 baud, 8 data bits, no parity, 1 stop bit, no flow
// control; a read returns at once with what is there. See POSIX, General Terminal Interface.
termios MakeLineSettings();

// Applies the settings at once and reads them back: tcsetattr already succeeds when it could do
// part of what was asked, so a second try follows.
void ApplyTerminalSettings(int descriptor, const termios& settings);
