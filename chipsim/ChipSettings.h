#pragma once

#include <cstdint>
#include <vector>

#include "chipsim/FaultRule.h"

// How the simulated chip behaves.
struct CHIP_SETTINGS {
    // Bits per second in each direction, 10 bits to a byte; 0 = as fast as it can.
    unsigned int baud = 115200;

    // A chip erase takes this long and sends its progress markers evenly spread over that time.
    unsigned int eraseTimeMs = 200;
    unsigned int eraseMarkers = 2;

    // Addresses that a chip erase leaves alone, both included: where a minidriver runs.
    std::uint32_t ramFirst = 0x00200000;
    std::uint32_t ramLast = 0x002FFFFF;

    // Whether an acknowledged signature record is followed by the NCI reset notification, and how
    // long after its acknowledgement.
    bool sendsResetNtf = false;
    unsigned int resetNtfDelayMs = 100;

    // What goes wrong, and the seed of everything random in it.
    std::vector<FAULT_RULE> faults;
    unsigned int seed = 1;
};
